#include "ipl/ErrorStorage.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

namespace ipl {
namespace {

using ThreadId = std::uint64_t;

// A thread's number among all threads of the process, never used twice as the system's own ids are.
ThreadId ownId() {
    static std::atomic<ThreadId> next{0};
    thread_local const ThreadId id = next++;
    return id;
}

struct Pending {
    ThreadId thread;
    ErrorStorage::Record record;
};

struct Errors {
    // Guards `pending`. A thread's text stays in place while other threads add theirs, see `reason()`.
    std::mutex mutex;
    vector<std::unique_ptr<Pending>> pending;

    // The calling thread's error, or the end. The mutex is held.
    auto own() {
        return std::find_if(pending.begin(), pending.end(),
                            [id = ownId()](const auto& entry) { return entry->thread == id; });
    }
};

// Threads that outlive main still report their errors here, so it is never destroyed.
Errors& errors() {
    static auto& instance = *new Errors;
    return instance;
}

ErrorStorage* inForce = nullptr;

// Whether this thread may have a pending error: threads that have none, which is nearly always, take no lock.
thread_local bool mayBePending = false;

}  // namespace

ErrorStorage::ErrorStorage() : m_previous(std::exchange(inForce, this)) {}

ErrorStorage::~ErrorStorage() {
    inForce = m_previous;
}

bool ErrorStorage::isError(bool ownThread) {
    if (ownThread && !mayBePending) return false;
    Errors& all = errors();
    const std::scoped_lock lock(all.mutex);
    return ownThread ? all.own() != all.pending.end() : !all.pending.empty();
}

const char* ErrorStorage::reason() {
    if (!mayBePending) return nullptr;
    Errors& all = errors();
    const std::scoped_lock lock(all.mutex);
    const auto own = all.own();
    return own == all.pending.end() ? nullptr : (*own)->record.reason.c_str();
}

string ErrorStorage::reasonText() {
    const char* text = reason();
    return text == nullptr ? "" : text;
}

void ErrorStorage::ack() {
    if (!std::exchange(mayBePending, false)) return;
    Errors& all = errors();
    const std::scoped_lock lock(all.mutex);
    const auto own = all.own();
    if (own != all.pending.end()) all.pending.erase(own);
}

void ErrorStorage::record(Record error) {
    mayBePending = true;
    Errors& all = errors();
    const std::scoped_lock lock(all.mutex);
    const auto own = all.own();
    if (own != all.pending.end())
        (*own)->record = std::move(error);
    else
        all.pending.push_back(std::make_unique<Pending>(Pending{ownId(), std::move(error)}));
}

vector<ErrorStorage::Record> ErrorStorage::takePending() {
    Errors& all = errors();
    const std::scoped_lock lock(all.mutex);
    vector<Record> taken;
    for (auto& entry : all.pending) taken.push_back(std::move(entry->record));
    all.pending.clear();
    return taken;
}

}  // namespace ipl
