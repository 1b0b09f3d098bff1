#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

#include "StreamCheck.h"
#include "comm/SvcTracked.h"

/// A registration's record that checks all that arrives. Any thread may ask and wait.
class Receiver final : public comm::SvcTracked {
  public:
    /// Called on the dispatch thread for each message that wants an answer.
    using OnQuestion = std::function<void(const StreamHeader&)>;

    Receiver(std::uint32_t instance, OnQuestion onQuestion)
        : comm::SvcTracked(TestIdentity(instance).args(), Initial, nullptr), m_onQuestion(std::move(onQuestion)) {}

    void connected() override;
    void received(const comm::Message& message) override;
    void disconnected() override;

    /// Wait until there are so many connections, so many messages of a connection, an answer; false if that does not
    /// happen.
    bool waitForLive(std::size_t count);
    bool waitForStream(std::uint32_t connection, std::uint32_t count);
    bool waitForAnswer(std::uint32_t token, std::chrono::milliseconds atMost);

    /// How many connections there were at the same time at most since the last question.
    std::size_t peak();
    /// What was wrong first, or nothing.
    std::string fault() const;
    /// What has arrived, for people: connections, messages of a stream.
    std::string state(std::uint32_t connection = 0) const;
    /// Messages, bytes, and messages of nobody, which hostile peers send.
    std::string figures() const;

  private:
    std::size_t live() const { return m_connected - m_disconnected; }
    void check(bool right, const char* text);
    template <class Condition>
    bool wait(std::chrono::milliseconds atMost, Condition condition);

    const OnQuestion m_onQuestion;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    StreamCheck m_streams;
    std::string m_fault;
    std::size_t m_connected = 0;
    std::size_t m_disconnected = 0;
    std::size_t m_peak = 0;
    std::uint32_t m_answer = 0;
    unsigned long long m_messages = 0;
    unsigned long long m_bytes = 0;
    unsigned long long m_strays = 0;
    unsigned m_strayBytes = 0;  // their sum
};
