#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "ByteQueue.h"
#include "Request.h"

namespace transport {

/// A bounded stream of bytes between any number of writers and readers.
///
/// No call blocks: a request that cannot be answered yet waits inside, and a later call answers it. Requests are
/// answered in the order in which they came. Safe for several threads at once.
class Channel {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Duration = std::chrono::steady_clock::duration;

    struct Limits {
        std::size_t capacity;  ///< bytes that wait in the channel; one larger write may do so alone
        Duration idleTime;     ///< how long a request waits at most
    };

    /// What a reader had missed when it came.
    struct Reader {
        std::uint64_t writers;
    };

    explicit Channel(const Limits& limits) : m_limits(limits) {}
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    void addWriter();
    /// Its requests must have been answered. With the last writer, readers that wait get the end of the file.
    void removeWriter();
    Reader addReader();
    /// Its requests must have been answered.
    void removeReader();

    /// Reads what there is, up to this size, or waits for it. It is the end of the file when the channel is empty and
    /// all writers that this reader could have heard of are gone, or when the idle time has passed. Returns when
    /// expire() is due, if it waits.
    std::optional<TimePoint> read(const Reader& reader, std::size_t size, std::unique_ptr<Request> request,
                                  TimePoint now);

    /// Writes all of it, when it fits or the channel is empty, and waits for that; when the idle time has passed it
    /// fails with ETIMEDOUT and none of it is written. Returns when expire() is due, if it waits.
    std::optional<TimePoint> write(std::unique_ptr<WriteRequest> request, TimePoint now);

    /// Takes back a request that waits, unanswered. One that is only about to be given to the channel stays with it and
    /// is answered with EINTR if it would have to wait. The request must not have been destroyed.
    [[nodiscard]] std::unique_ptr<Request> withdraw(Request& request);

    /// Answers what has waited for the idle time. Returns when it is to be called next, if anything waits.
    std::optional<TimePoint> expire(TimePoint now);

    /// Answers all that waits with this error.
    void abort(int error);

    /// Whether nobody uses the channel and nothing waits in it.
    bool isUnused() const;

  private:
    // From this size on a write stays in the memory that it came in, which the kernel's largest write nearly fills.
    // Smaller ones are packed, so that a channel takes little more memory than its capacity.
    static constexpr std::size_t KeptSize = 960U << 10;

    struct WaitingRead {
        std::unique_ptr<Request> request;
        std::size_t size;
        TimePoint deadline;
    };
    struct WaitingWrite {
        std::unique_ptr<WriteRequest> request;
        Slice bytes;
        TimePoint deadline;
    };
    struct Answer {
        std::unique_ptr<Request> request;
        int error;
        std::vector<Slice> bytes;
    };
    // Writers come first where that is possible: it costs little, and they go on while their bytes are copied to
    // readers.
    using Answers = std::deque<Answer>;

    // Those with Answers are called under the mutex and add what is to be answered after it is released.
    bool fits(std::size_t size) const;
    void enter(Slice bytes, Answers& answers);
    void enterWaiting(Answers& answers);
    void answerWaitingReads(int error, Answers& answers);
    static Slice copyOf(const Slice& bytes);
    static void deliver(Answers answers);
    std::optional<TimePoint> nextDeadline() const;

    const Limits m_limits;

    mutable std::mutex m_mutex;  // guards all below; nothing is called out under it
    ByteQueue m_bytes;
    std::deque<WaitingRead> m_reads;    // only while m_bytes is empty
    std::deque<WaitingWrite> m_writes;  // only while m_bytes is not empty, and the first of them does not fit
    std::uint64_t m_writersSoFar = 0;
    std::size_t m_writers = 0;
    std::size_t m_readers = 0;
};

}  // namespace transport
