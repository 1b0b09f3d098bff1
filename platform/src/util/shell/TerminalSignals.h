#pragma once

#include <array>
#include <csignal>

namespace util::shell {

/// The signals that concern a terminal on which a line is edited, as long as the object lives.
///
/// Those that end the process leave the terminal as it was when the object was made, and so does the process's own end
/// without them; one that stops it is left to the reader of the line. Those that the process ignores stay ignored. One
/// object at a time.
class TerminalSignals {
  public:
    /// What a wait ends with.
    enum class Event {
        Key,      ///< standard input can be read, or has ended
        Resized,  ///< the terminal's size has changed
        Stop,     ///< the process is to stop: `stop` does so
        Resumed   ///< the process was stopped without being asked, and perhaps others have used the terminal
    };

    TerminalSignals();
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;
    ~TerminalSignals();

    /// Waits without a limit.
    Event wait();

    /// Stops the process and returns when it goes on, or at once where nobody could continue it.
    void stop();

  private:
    struct Handled {
        int signal;
        struct sigaction before;
    };

    static void handle(int signal);

    std::array<Handled, 8> m_handled;
};

}  // namespace util::shell
