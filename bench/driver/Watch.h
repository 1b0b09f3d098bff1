#pragma once

#include <chrono>
#include <initializer_list>

#include "Process.h"

namespace bench {

/// Waits for what can happen during a run. The one object of a program; made before its first child and thread.
class Watch {
  public:
    using Clock = std::chrono::steady_clock;
    enum class Event { DeadlinePassed, ProcessEnded, Interrupted };

    /// From here on the signals that ask the program to end are reported by `waitUntil` instead of ending it, and a
    /// closed pipe is an error of the write.
    Watch();
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;
    ~Watch();

    /// Blocks until the deadline, or earlier until one of the processes has ended or a signal has come. A signal is
    /// reported again by every later call.
    Event waitUntil(Clock::time_point deadline, std::initializer_list<const Process*> processes) const;

  private:
    int m_signals;
};

}  // namespace bench
