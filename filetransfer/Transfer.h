#pragma once

#include <atomic>
#include <cstdint>

#include "ConnectionMessages.h"
#include "ipl/string.h"

/// What a sender and a receiver of chunks have in common.
///
/// A transfer runs on the thread that calls it and blocks that until it has ended: at its count of chunks, or when the
/// running flag is found clear. No fault ends it; it opens the file again, for as long as that takes.
class Transfer {
  public:
    struct Parameters {
        ipl::string path;       ///< of the end of the channel
        std::uint32_t payload;  ///< bytes of a chunk, at least 1
        std::uint32_t delay;    ///< milliseconds between the chunks of a counted transfer; a sender's only
        std::uint32_t count;    ///< of chunks; 0 is without limit
    };
    /// Takes a message of the transfer, on the transfer's thread.
    using Print = ConnectionMessages::Print;

  protected:
    /// `running` is set by run() and may be cleared by any thread; it must outlive the transfer.
    Transfer(Parameters parameters, std::atomic<bool>& running, Print print);
    ~Transfer() = default;

    /// The end of the report line.
    ipl::string countText() const;
    bool isComplete() const { return m_parameters.count != 0 && m_moved >= m_parameters.count; }
    void finish();
    /// An open that failed: says so and waits before the next.
    void waitForFile() const;
    /// A chunk that was not moved, with the stream's error or 0 for its end; `operation` is "read" or "write".
    void reportInterruption(const ipl::string& operation, int error);

    const Parameters m_parameters;
    std::atomic<bool>& m_running;
    const Print m_print;
    ConnectionMessages m_messages;  // about what may repeat itself without a pause
    std::uint64_t m_moved = 0;      // whole chunks, over all connections
};
