#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "FrameReader.h"
#include "FrameWriter.h"

namespace bench {

/// The sending side of the plain exchange: a sender thread and a receive thread that hand over through one condition
/// variable.
class PlainClient {
  public:
    struct Result {
        std::uint64_t messages = 0;                ///< answered messages
        std::chrono::steady_clock::duration time;  ///< from the start to the last reply
        bool failed = false;
    };

    /// Starts both threads, and the first burst at once. `payload`: bytes of every message; `burst`: messages per
    /// reply. The sockets stay the caller's.
    PlainClient(int messages, int replies, std::size_t payload, std::uint64_t burst);
    PlainClient(const PlainClient&) = delete;
    PlainClient& operator=(const PlainClient&) = delete;
    /// `stop` must have returned.
    ~PlainClient() = default;

    /// Waits until that much time has passed; returns earlier when the exchange fails.
    void waitFor(std::chrono::duration<double> time);
    /// Lets the burst under way be answered, ends both threads and closes `messages` for sending.
    Result stop();

  private:
    using Clock = std::chrono::steady_clock;

    void send();
    bool waitForReply();
    void receive();
    void onReply();
    void onFailure();

    const int m_socket;
    const std::uint64_t m_burst;
    const FrameWriter m_writer;  // the sender thread's, with m_data and m_fill
    std::vector<std::uint8_t> m_data;
    std::uint8_t m_fill = 0;
    FrameReader m_reader;  // the receive thread's, with m_bursts and m_lastreply, until it has ended
    std::uint64_t m_bursts = 0;
    const Clock::time_point m_start = Clock::now();
    Clock::time_point m_lastreply = m_start;

    std::mutex m_mutex;  // guards the three flags
    std::condition_variable m_changed;
    std::condition_variable m_failure;
    bool m_replied = true;
    bool m_running = true;
    bool m_failed = false;

    std::thread m_receiver;
    std::thread m_sender;
};

}  // namespace bench
