#include "comm/CallbackTurn.h"

#include <map>
#include <mutex>

namespace comm {
namespace {

// Which turn each waiting thread waits for.
struct Waits {
    std::mutex mutex;  // guards `turns`, whose turns live as long as a thread waits for them
    std::map<std::uint32_t, const CallbackTurn*> turns;
};

// Threads that outlive main still wait, so it is never destroyed.
Waits& waits() {
    static auto& instance = *new Waits;
    return instance;
}

}  // namespace

CallbackTurn::ThreadNumber CallbackTurn::ownNumber() {
    static std::atomic<ThreadNumber> last{Nobody};
    thread_local const ThreadNumber number = ++last;
    return number;
}

bool CallbackTurn::enter() {
    while (!tryEnter()) {
        if (m_ended) return false;
        const ThreadNumber holder = m_holder.load();
        if (holder != Nobody) m_holder.wait(holder);
    }
    return true;
}

// The holder is set before it looks at the end, and `end` does the two the other way round: one of them sees the other.
bool CallbackTurn::tryEnter() {
    ThreadNumber expected = Nobody;
    if (m_ended || !m_holder.compare_exchange_strong(expected, ownNumber())) return false;
    if (!m_ended) return true;
    leave();
    return false;
}

void CallbackTurn::leave() {
    m_holder.store(Nobody);
    m_holder.notify_all();
}

bool CallbackTurn::isMine() const {
    return m_holder.load() == ownNumber();
}

void CallbackTurn::end() {
    m_ended = true;
    await();
}

void CallbackTurn::await() const {
    const ThreadNumber holder = m_holder.load();
    if (holder == Nobody || holder == ownNumber()) return;
    {
        const std::scoped_lock lock(waits().mutex);
        if (closesCircle()) return;
        waits().turns[ownNumber()] = this;
    }
    for (ThreadNumber now = holder; now != Nobody; now = m_holder.load()) m_holder.wait(now);
    const std::scoped_lock lock(waits().mutex);
    waits().turns.erase(ownNumber());
}

// Follows who waits for whom, from this turn on. The mutex of the waits is held.
bool CallbackTurn::closesCircle() const {
    for (const CallbackTurn* turn = this;;) {
        const ThreadNumber holder = turn->m_holder.load();
        if (holder == ownNumber()) return true;
        const auto next = waits().turns.find(holder);
        if (next == waits().turns.end()) return false;
        turn = next->second;
    }
}

}  // namespace comm
