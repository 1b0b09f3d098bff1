#pragma once

#include "osal/common/Thread.h"
#include "util/IRunnable.h"

namespace util {

/// A thread that runs a runnable.
class Thread final : public osal::Thread {
  public:
    using Runnable = IRunnableT<Thread const* const>;

    /// `runnable` must outlive the thread. Name, scheduling and failures: see `osal::Thread`.
    Thread(Runnable& runnable, const ipl::string& name, bool realtime, int priority)
        : osal::Thread(name, realtime, priority), m_runnable(runnable) {}

  protected:
    void entry() override { m_runnable.run(this); }

  private:
    Runnable& m_runnable;
};

}  // namespace util
