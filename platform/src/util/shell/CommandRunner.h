#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include "shell/Command.h"
#include "util/Thread.h"

namespace util::shell {

/// A command that was entered, with a value for each of its parameters.
struct Invocation {
    Command command;
    ipl::vector<ipl::string> values;
    ipl::string text;  ///< as it was typed
};

/// Runs invocations, each on a thread of its own: those of one id one after the other as they were submitted, those of
/// different ids at once. Any thread may call it, a command's own too, save where it would wait for itself.
class CommandRunner {
  public:
    /// How far an invocation is.
    enum class Progress { Waiting, Running, Ended };

    /// Names an invocation.
    struct Ticket {
        unsigned short id;
        unsigned long long number;
    };

    CommandRunner();
    CommandRunner(const CommandRunner&) = delete;
    CommandRunner& operator=(const CommandRunner&) = delete;
    /// Waits until everything has ended.
    ~CommandRunner();

    /// Runs the invocation when the earlier ones of its id have ended. Nothing if its command is retired; one that
    /// cannot be started is told to the user and counts as ended.
    std::optional<Ticket> submit(Invocation invocation);

    /// Waits until the invocation has ended, but no longer than this.
    Progress waitFor(const Ticket& ticket, std::chrono::milliseconds atMost);
    void waitUntilEnded(const Ticket& ticket);
    void waitUntilIdle();

    /// The texts of the invocations that have not ended.
    ipl::vector<ipl::string> pending() const;

    /// Drops the waiting invocations of the id and lets none in any more; with `waitForEnd` the running one has ended
    /// when this returns, which is why its own call must not ask for that.
    void retire(unsigned short id, bool waitForEnd);

  private:
    class Job;
    using Jobs = std::deque<std::unique_ptr<Job>>;

    void perform(Job& job);
    void finish(unsigned short id);
    ipl::vector<ipl::string> startFirst(unsigned short id);
    void joinEnded();
    Progress progress(const Ticket& ticket) const;

    // Guards all below. It is also held while a thread is started, so that none is joined before its start is complete;
    // nothing of a service is called under it.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;        // an invocation has ended
    std::map<unsigned short, Jobs> m_queues;  // by command id, none empty; the first of each runs, the others wait
    Jobs m_ended;                             // their threads are to be joined
    std::set<unsigned short> m_retired;
    unsigned long long m_lastNumber = 0;
};

}  // namespace util::shell
