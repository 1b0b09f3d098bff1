#include "PlainService.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace bench {

PlainService::PlainService(int messages, int replies, std::size_t payload, std::uint64_t burst)
    : m_reader(messages, payload), m_writer(replies), m_payload(payload), m_burst(burst) {}

bool PlainService::serve() {
    FrameReader::Result result = m_reader.next();
    for (; result == FrameReader::Result::Frame; result = m_reader.next()) {
        if (!isExpected(m_reader.payload())) {
            std::fprintf(stderr, "plain service: message %ju is not what was sent\n", std::uintmax_t{m_count});
            return true;
        }
        ++m_count;
        if (m_count % m_burst == 0 && m_writer.send({})) break;
    }
    if (result == FrameReader::Result::End && m_count % m_burst == 0) return false;
    std::fprintf(stderr, "plain service: broken off after %ju messages: %s\n", std::uintmax_t{m_count},
                 std::strerror(errno));
    return true;
}

// The sender's counter goes on from burst to burst, so the place in the test gives every byte. Three are looked at:
// that tells a lost, doubled or shifted message, and costs nothing beside the copy.
bool PlainService::isExpected(std::span<const std::uint8_t> message) const {
    if (message.size() != m_payload) return false;
    if (message.empty()) return true;
    const std::uint64_t first = m_count / m_burst * m_payload;
    const auto isRight = [&](std::size_t i) { return message[i] == static_cast<std::uint8_t>(first + i); };
    return isRight(0) && isRight(m_payload / 2) && isRight(m_payload - 1);
}

}  // namespace bench
