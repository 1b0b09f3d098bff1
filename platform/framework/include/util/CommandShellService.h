#pragma once

namespace util {

class CommandShell;

/// What offers commands in a `CommandShell`. Register it with one shell at a time.
class CommandShellService {
  public:
    /// The events of `onShellEvent`.
    enum ShellEvent {
        Started = 0,  ///< the shell has taken the service: time to register commands
        Ended = 1,    ///< the shell lets go of the service: no further event comes
        Command = 3   ///< a command was entered: its parameters hold their values
    };

    CommandShellService(const CommandShellService&) = delete;
    CommandShellService& operator=(const CommandShellService&) = delete;
    virtual ~CommandShellService() = default;

    /// Called by the shell. `event` is a `ShellEvent`; `commandId` is the entered command's and otherwise 0.
    ///
    /// Started and Ended come on the threads that call `registerService` and `startParser`, with no other call running.
    /// Commands come on threads of the shell: those of one id one at a time, those of different ids perhaps at once.
    /// A command has ended when the call returns.
    virtual void onShellEvent(int event, unsigned short commandId) = 0;

  protected:
    CommandShellService() = default;

    /// The shell that the service is registered with, or null.
    CommandShell* m_shell = nullptr;

  private:
    friend class CommandShell;
};

}  // namespace util
