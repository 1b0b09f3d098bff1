#pragma once

namespace util {

/// Something that a thread can run.
template <class Argument>
class IRunnableT {
  public:
    virtual ~IRunnableT() = default;

    /// Called once on the new thread; `argument` is what the thread passes, a `util::Thread` itself.
    virtual void run(Argument argument) = 0;
};

}  // namespace util
