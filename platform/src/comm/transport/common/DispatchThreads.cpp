#include "DispatchThreads.h"

#include <utility>

namespace comm::transport {

class DispatchThreads::Thread final : private util::Thread::Runnable {
  public:
    Thread(DispatchThreads& threads, const ipl::string& name, std::function<void()> body)
        : m_threads(threads), m_body(std::move(body)), m_thread(*this, name, false, 0) {}

    [[nodiscard]] bool start() { return m_thread.start(); }
    void join() { (void)m_thread.join(); }  // it was started, and this is another one

  private:
    void run(util::Thread const* const /*thread*/) override {
        std::exchange(m_body, nullptr)();
        m_threads.ended(*this);
    }

    DispatchThreads& m_threads;
    std::function<void()> m_body;
    util::Thread m_thread;
};

DispatchThreads::DispatchThreads() = default;
DispatchThreads::~DispatchThreads() = default;

bool DispatchThreads::start(const ipl::string& name, std::function<void()> body) {
    auto thread = std::make_unique<Thread>(*this, name, std::move(body));
    const std::scoped_lock lock(m_mutex);
    if (thread->start()) return true;
    const Thread* const key = thread.get();
    m_running.emplace(key, std::move(thread));
    return false;
}

void DispatchThreads::ended(const Thread& thread) {
    std::unique_ptr<Thread> before;
    {
        const std::scoped_lock lock(m_mutex);
        const auto found = m_running.find(&thread);
        before = std::exchange(m_lastEnded, std::move(found->second));
        m_running.erase(found);
        m_changed.notify_all();
    }
    if (before != nullptr) before->join();
}

void DispatchThreads::joinAll() {
    std::unique_ptr<Thread> last;
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_running.empty(); });
        last.swap(m_lastEnded);
    }
    if (last != nullptr) last->join();
}

}  // namespace comm::transport
