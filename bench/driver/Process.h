#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// One run of a program as a child of this process, fed by a pipe; what it prints is kept in memory.
///
/// The child never outlives this object or this process. It leads a process group, so that signals reach what it has
/// started too, and what it leaves behind is killed. The thread that starts it must be the one that destroys it.
class Process {
  public:
    struct Exit {
        int status = 0;         ///< as `wait4` gives it
        double cpuSeconds = 0;  ///< user and system, with that of the children it has waited for
    };

    /// `name`: what messages call it.
    explicit Process(std::string name) : m_name(std::move(name)) {}
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    /// Kills the child if it still runs.
    ~Process();

    /// Starts `command`: the program, by its path or its name in PATH, and its arguments; call it once. With a
    /// `runtimeDirectory` that is the child's XDG_RUNTIME_DIR and XDG_CONFIG_HOME. Returns true on failure, with the
    /// reason in `errno`; a program that cannot be executed is no failure here but a child that ends with status 127
    /// and says why.
    [[nodiscard]] bool start(std::vector<std::string> command, const std::string& runtimeDirectory = {});

    /// Writes to the child's standard input. Returns true when the child does not take all of it.
    [[nodiscard]] bool write(std::string_view text) const;
    /// Gives the child the end of its input.
    void closeInput();

    /// A descriptor that becomes readable when the child ends; it stays this object's.
    int descriptor() const { return m_descriptor; }
    bool hasEnded() const;
    /// The child's process id, before `wait`.
    pid_t id() const { return m_process; }
    void kill() const;
    /// Asks the child to end, and kills it when it has not ended in this time.
    void stop(std::chrono::milliseconds grace) const;
    /// Blocks until the child has ended; of one that has never started the exit is all 0.
    Exit wait();

    const std::string& name() const { return m_name; }
    /// What the child has printed so far on standard output and standard error.
    std::string output() const;

  private:
    std::string m_name;
    pid_t m_process = -1;
    Exit m_exit;
    int m_descriptor = -1;
    int m_input = -1;
    int m_output = -1;
};

}  // namespace bench
