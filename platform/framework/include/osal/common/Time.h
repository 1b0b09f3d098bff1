#pragma once

namespace osal {

/// The bench's clock: monotonic, so setting the wall clock disturbs nothing. Any thread may call it.
class Time {
  public:
    /// The current time in milliseconds since an arbitrary start. True on failure.
    static bool getTime(long long& milliseconds);

    /// Sleeps for this many milliseconds. 0 or less returns at once: even an empty timer takes tens of microseconds.
    static void sleep(long long milliseconds);
};

}  // namespace osal
