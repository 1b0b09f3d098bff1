#pragma once

#include <atomic>
#include <cstdint>

namespace comm {

/// The right to call back into the user of one registration or proxy. One thread has it at a time, and `end` takes it
/// away for good. Any thread, unless said otherwise.
///
/// A thread takes the turn around a group of callbacks and asks `ended` between two of them. Callbacks whose threads
/// end each other's turns would wait in a circle; the wait that would close the circle is left out. It has a line of
/// the cache for itself, since a thread asks about the end after each call.
class alignas(64) CallbackTurn {
  public:
    CallbackTurn() = default;
    CallbackTurn(const CallbackTurn&) = delete;
    CallbackTurn& operator=(const CallbackTurn&) = delete;

    /// Takes the turn, after another thread that has it. False once it has ended; it is then not taken. Not on a thread
    /// that has it.
    [[nodiscard]] bool enter();
    /// The same without waiting: false also while another thread has it.
    [[nodiscard]] bool tryEnter();
    /// Gives it back, on the thread that has taken it.
    void leave();

    bool ended() const { return m_ended.load(); }
    /// Whether the calling thread has it.
    bool isMine() const;

    /// Ends it and waits as `await` does: when it returns, no callback runs or will run, but for those that `await`
    /// excepts. Each of several callers waits.
    void end();
    /// Waits until no thread has the turn. Excepted are the calling thread, and a thread whose callback waits, directly
    /// or through others, for a callback that the calling thread is inside of.
    void await() const;

  private:
    using ThreadNumber = std::uint32_t;
    static constexpr ThreadNumber Nobody = 0;

    static ThreadNumber ownNumber();
    bool closesCircle() const;

    std::atomic<ThreadNumber> m_holder{Nobody};
    std::atomic<bool> m_ended{false};
};

}  // namespace comm
