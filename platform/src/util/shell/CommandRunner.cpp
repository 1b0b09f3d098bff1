#include "shell/CommandRunner.h"

#include <algorithm>
#include <utility>

#include "ipl/ErrorStorage.h"
#include "shell/Message.h"

namespace util::shell {
namespace {

void tellEach(const ipl::vector<ipl::string>& messages) {
    for (const ipl::string& message : messages) tell(message);
}

}  // namespace

/// An invocation and its thread.
class CommandRunner::Job final : public Thread::Runnable {
  public:
    Job(CommandRunner& runner, Invocation invocation, unsigned long long number)
        : m_runner(runner), m_invocation(std::move(invocation)), m_number(number) {}

    /// True on failure, with the reason in the error storage.
    bool start() { return m_thread.start(); }
    void join() { m_thread.join(); }

    void run(Thread const* /*thread*/) override { m_runner.perform(*this); }

    const Invocation& invocation() const { return m_invocation; }
    unsigned long long number() const { return m_number; }

  private:
    CommandRunner& m_runner;
    Invocation m_invocation;
    unsigned long long m_number;
    Thread m_thread{*this, "zid_command", false, 0};
};

CommandRunner::CommandRunner() = default;

CommandRunner::~CommandRunner() {
    waitUntilIdle();
}

std::optional<CommandRunner::Ticket> CommandRunner::submit(Invocation invocation) {
    joinEnded();
    ipl::vector<ipl::string> failures;
    Ticket ticket{invocation.command.id, 0};
    {
        const std::scoped_lock lock(m_mutex);
        if (m_retired.contains(ticket.id)) return std::nullopt;
        ticket.number = ++m_lastNumber;
        Jobs& queue = m_queues[ticket.id];
        queue.push_back(std::make_unique<Job>(*this, std::move(invocation), ticket.number));
        if (queue.size() == 1) failures = startFirst(ticket.id);
    }
    tellEach(failures);
    return ticket;
}

CommandRunner::Progress CommandRunner::waitFor(const Ticket& ticket, std::chrono::milliseconds atMost) {
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, atMost, [this, &ticket] { return progress(ticket) == Progress::Ended; });
    return progress(ticket);
}

void CommandRunner::waitUntilEnded(const Ticket& ticket) {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this, &ticket] { return progress(ticket) == Progress::Ended; });
}

void CommandRunner::waitUntilIdle() {
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_queues.empty(); });
    }
    joinEnded();
}

ipl::vector<ipl::string> CommandRunner::pending() const {
    const std::scoped_lock lock(m_mutex);
    ipl::vector<ipl::string> texts;
    for (const auto& [id, queue] : m_queues)
        for (const auto& job : queue) texts.push_back(job->invocation().text);
    return texts;
}

void CommandRunner::retire(unsigned short id, bool waitForEnd) {
    ipl::vector<ipl::string> dropped;
    {
        std::unique_lock lock(m_mutex);
        m_retired.insert(id);
        if (const auto queue = m_queues.find(id); queue != m_queues.end()) {
            for (std::size_t i = 1; i < queue->second.size(); ++i)
                dropped.push_back(queue->second[i]->invocation().text + " is dropped: the command is gone");
            queue->second.resize(1);
            m_changed.notify_all();
        }
        if (waitForEnd) m_changed.wait(lock, [this, id] { return !m_queues.contains(id); });
    }
    tellEach(dropped);
}

// On the command's thread.
void CommandRunner::perform(Job& job) {
    joinEnded();
    const Invocation& invocation = job.invocation();
    const unsigned short id = invocation.command.id;
    for (std::size_t i = 0; i < invocation.values.size(); ++i)
        invocation.command.parameters[i]->assign(invocation.values[i]);
    invocation.command.service->onShellEvent(CommandShellService::Command, id);
    finish(id);
}

// The calling thread's job may be joined and gone as soon as the mutex is free.
void CommandRunner::finish(unsigned short id) {
    ipl::vector<ipl::string> failures;
    {
        const std::scoped_lock lock(m_mutex);
        Jobs& queue = m_queues[id];
        m_ended.push_back(std::move(queue.front()));
        queue.pop_front();
        failures = startFirst(id);
        m_changed.notify_all();
    }
    tellEach(failures);
}

// Starts the first of a queue, or the next if that fails, and forgets a queue that is empty. The mutex is held.
ipl::vector<ipl::string> CommandRunner::startFirst(unsigned short id) {
    ipl::vector<ipl::string> failures;
    Jobs& queue = m_queues[id];
    while (!queue.empty() && queue.front()->start()) {
        failures.push_back(queue.front()->invocation().text + " is not run: " + ipl::ErrorStorage::reasonText());
        ipl::ErrorStorage::ack();
        queue.pop_front();
    }
    if (queue.empty()) m_queues.erase(id);
    return failures;
}

void CommandRunner::joinEnded() {
    Jobs ended;
    {
        const std::scoped_lock lock(m_mutex);
        ended.swap(m_ended);
    }
    for (const auto& job : ended) job->join();
}

CommandRunner::Progress CommandRunner::progress(const Ticket& ticket) const {
    const auto found = m_queues.find(ticket.id);
    if (found == m_queues.end()) return Progress::Ended;
    const Jobs& queue = found->second;
    if (queue.front()->number() == ticket.number) return Progress::Running;
    const bool waits =
        std::any_of(queue.begin(), queue.end(), [&ticket](const auto& job) { return job->number() == ticket.number; });
    return waits ? Progress::Waiting : Progress::Ended;
}

}  // namespace util::shell
