#include "PlainClient.h"

#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <utility>

namespace bench {
namespace {

// Writes successive values from `fill` on and gives the value after the last: one round of the counter by hand, the
// rest as copies of what already stands there.
std::uint8_t refill(std::vector<std::uint8_t>& data, std::uint8_t fill) {
    std::size_t done = std::min<std::size_t>(data.size(), 256);
    for (std::size_t i = 0; i < done; ++i) data[i] = static_cast<std::uint8_t>(fill + i);
    while (done < data.size()) {
        const std::size_t more = std::min(done, data.size() - done);
        std::memcpy(data.data() + done, data.data(), more);
        done += more;
    }
    return static_cast<std::uint8_t>(fill + data.size());
}

}  // namespace

PlainClient::PlainClient(int messages, int replies, std::size_t payload, std::uint64_t burst)
    : m_socket(messages),
      m_burst(burst),
      m_writer(messages),
      m_data(payload),
      m_reader(replies, 0),
      m_receiver([this] { receive(); }),
      m_sender([this] { send(); }) {}

void PlainClient::waitFor(std::chrono::duration<double> time) {
    std::unique_lock lock(m_mutex);
    m_failure.wait_for(lock, time, [this] { return m_failed; });
}

PlainClient::Result PlainClient::stop() {
    {
        const std::lock_guard lock(m_mutex);
        m_running = false;
        m_changed.notify_one();
    }
    m_sender.join();
    ::shutdown(m_socket, SHUT_WR);
    m_receiver.join();
    return {m_bursts * m_burst, m_lastreply - m_start, m_failed};
}

void PlainClient::send() {
    while (!waitForReply()) {
        m_fill = refill(m_data, m_fill);
        for (std::uint64_t i = 0; i < m_burst; ++i)
            if (m_writer.send(m_data)) return onFailure();
    }
}

// Returns true when the exchange is over.
bool PlainClient::waitForReply() {
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [this] { return m_replied || m_failed; });
    m_replied = false;
    return !m_running || m_failed;
}

void PlainClient::receive() {
    FrameReader::Result result = m_reader.next();
    for (; result == FrameReader::Result::Frame; result = m_reader.next()) onReply();
    const bool stopped = [this] {
        const std::lock_guard lock(m_mutex);
        return !m_running;
    }();
    if (result == FrameReader::Result::Failed || !stopped) onFailure();
}

void PlainClient::onReply() {
    ++m_bursts;
    m_lastreply = Clock::now();
    const std::lock_guard lock(m_mutex);
    m_replied = true;
    m_changed.notify_one();
}

void PlainClient::onFailure() {
    const std::lock_guard lock(m_mutex);
    m_failed = true;
    m_changed.notify_one();
    m_failure.notify_one();
}

}  // namespace bench
