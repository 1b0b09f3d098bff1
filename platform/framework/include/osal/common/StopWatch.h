#pragma once

#include <atomic>
#include <cstdint>

namespace osal {

/// Measures stretches of time and adds them up.
///
/// One thread may start it while another reads or stops it; the watch keeps each single operation whole, and what is
/// ordered around it is its users' affair. Two threads that both start or stop it must not do so at once.
class StopWatchBase {
  public:
    enum TimeUnit { Milliseconds = 0, Microseconds = 1, Nanoseconds = 2 };

    StopWatchBase(const StopWatchBase&) = delete;
    StopWatchBase& operator=(const StopWatchBase&) = delete;

    /// Begins a stretch; a watch that runs already goes on with its own.
    void start();
    /// Ends the current stretch and keeps its time.
    void stop();
    /// Forgets all time measured so far, a current stretch included, and stands still.
    void reset();

    bool isRunning() const { return m_startedAt.load() != NotRunning; }

    /// The current stretch so far, rounded down; 0 when the watch stands still.
    std::uint32_t peekRuntime(TimeUnit unit) const;
    /// All stretches together, the current one included, rounded down.
    std::uint32_t getElapsedTime(TimeUnit unit) const;

  protected:
    StopWatchBase() = default;
    virtual ~StopWatchBase() = default;

    /// The watch's clock in nanoseconds.
    virtual std::int64_t now() const = 0;

  private:
    static constexpr std::int64_t NotRunning = -1;

    std::int64_t runtime() const;

    std::atomic<std::int64_t> m_startedAt{NotRunning};
    std::atomic<std::int64_t> m_accumulated{0};
};

/// A stop watch on the clock of `Time`.
class RealtimeStopWatch final : public StopWatchBase {
  public:
    /// `startNow`: the watch runs from its construction.
    explicit RealtimeStopWatch(bool startNow);

  protected:
    std::int64_t now() const override;
};

}  // namespace osal
