#pragma once

#include <sys/types.h>

#include <string>

/// Another process that takes part in a test: the program `comm_peer`.
class PeerProcess {
  public:
    /// Starts it with these arguments, in this process's environment.
    explicit PeerProcess(const std::string& arguments);
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess();

    pid_t id() const { return m_process; }
    void signal(int number) const;
    /// Ends it without a chance to clean up, and waits for its end.
    void kill();

    /// Its next line; empty when it ends or the watchdog barks.
    std::string readLine() const;

  private:
    pid_t m_process = -1;
    int m_output = -1;
};
