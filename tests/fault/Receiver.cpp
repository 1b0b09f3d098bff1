#include "Receiver.h"

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <utility>

void Receiver::check(bool right, const char* text) {
    if (right || !m_fault.empty()) return;
    m_fault = text;
    std::fprintf(stderr, "fault: %s\n", text);
}

void Receiver::connected() {
    const std::scoped_lock lock(m_mutex);
    ++m_connected;
    m_peak = std::max(m_peak, live());
    m_changed.notify_all();
}

void Receiver::disconnected() {
    const std::scoped_lock lock(m_mutex);
    ++m_disconnected;
    check(m_disconnected <= m_connected, "more connections have ended than begun");
    m_changed.notify_all();
}

void Receiver::received(const comm::Message& message) {
    StreamHeader header{};
    {
        const std::scoped_lock lock(m_mutex);
        check(live() != 0, "a message outside of every connection");
        if (message.handleSize >> Stream::SequenceBits == 0) {
            // Nobody knows what is in it, but all of it must be there to be read.
            ++m_strays;
            if (message.data)
                m_strayBytes =
                    std::accumulate(message.data->data, message.data->data + message.data->size, m_strayBytes);
            return;
        }
        if (const std::string fault = m_streams.take(message, header); !fault.empty()) check(false, fault.c_str());
        check(m_streams.begun() <= m_connected, "a message before its connection");
        ++m_messages;
        m_bytes += message.data ? message.data->size : 0;
        if (header.replyTo == 0 && header.token != 0) m_answer = header.token;
        m_changed.notify_all();
    }
    if (header.replyTo != 0) m_onQuestion(header);
}

template <class Condition>
bool Receiver::wait(std::chrono::milliseconds atMost, Condition condition) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, atMost, [&] { return !m_fault.empty() || condition(); }) && m_fault.empty();
}

bool Receiver::waitForLive(std::size_t count) {
    return wait(Watchdog, [&] { return live() == count; });
}

bool Receiver::waitForStream(std::uint32_t connection, std::uint32_t count) {
    return wait(Watchdog, [&] { return m_streams.countOf(connection) == count; });
}

bool Receiver::waitForAnswer(std::uint32_t token, std::chrono::milliseconds atMost) {
    return wait(atMost, [&] { return m_answer == token; });
}

std::size_t Receiver::peak() {
    const std::scoped_lock lock(m_mutex);
    return std::exchange(m_peak, live());
}

std::string Receiver::fault() const {
    const std::scoped_lock lock(m_mutex);
    return m_fault;
}

std::string Receiver::state(std::uint32_t connection) const {
    const std::scoped_lock lock(m_mutex);
    return std::to_string(m_connected) + " connected, " + std::to_string(m_disconnected) + " disconnected, " +
           std::to_string(m_streams.countOf(connection)) + " of the stream, " + m_fault;
}

std::string Receiver::figures() const {
    const std::scoped_lock lock(m_mutex);
    return std::to_string(m_messages) + ' ' + std::to_string(m_bytes) + ' ' + std::to_string(m_strays);
}
