#include "StreamCheck.h"

#include <algorithm>

namespace {

std::string nameOf(std::uint32_t connection, std::uint32_t sequence) {
    return "message " + std::to_string(sequence) + " of connection " + std::to_string(connection >> 16U) + '.' +
           std::to_string(connection & 0xffffU);
}

}  // namespace

std::string StreamCheck::take(const comm::Message& message, StreamHeader& header) {
    State& state = m_streams[message.handleSize >> Stream::SequenceBits];
    const std::uint32_t size = message.data ? message.data->size : 0;
    header = {};
    if (size >= sizeof header)
        if (std::string fault = takeHeader(*message.data, state, header); !fault.empty()) return fault;
    const std::string due = nameOf(state.connection, state.sequence);
    if (state.connection == 0) return "a connection begins with a message that is not its first";
    if (((message.handleSize ^ state.sequence) & ((1U << Stream::SequenceBits) - 1)) != 0)
        return "another message where " + due + " is due, handle size " + std::to_string(message.handleSize);
    for (std::uint32_t at = header.connection != 0 ? sizeof header : 0; at < size; ++at)
        if (message.data->data[at] != state.counter++)
            return "byte " + std::to_string(at) + " of " + std::to_string(size) + " is wrong in " + due;
    ++state.sequence;
    return "";
}

std::string StreamCheck::takeHeader(const ipl::UInt8Array& array, State& state, StreamHeader& header) {
    std::memcpy(&header, array.data, sizeof header);
    if (header.sequence == 0 && header.connection > state.connection) {
        state = {header.connection, 0, 0};
        ++m_begun;
    }
    if (header.connection == state.connection && header.sequence == state.sequence) return "";
    return nameOf(header.connection, header.sequence) + " where " + nameOf(state.connection, state.sequence) +
           " is due";
}

std::uint32_t StreamCheck::countOf(std::uint32_t connection) const {
    const auto found = std::find_if(m_streams.begin(), m_streams.end(),
                                    [&](const auto& entry) { return entry.second.connection == connection; });
    return found == m_streams.end() ? 0 : found->second.sequence;
}
