#pragma once

#include <map>
#include <string>

#include "Stream.h"

/// Checks every byte of what arrives for one registration: all streams, each on its own. Not safe for several threads.
class StreamCheck {
  public:
    /// Takes the next message and gives its header, zeros if it has none. Returns what is wrong, or nothing.
    std::string take(const comm::Message& message, StreamHeader& header);

    /// How many messages of a connection have arrived; 0 for an unknown one.
    std::uint32_t countOf(std::uint32_t connection) const;

    /// How many connections have sent something.
    std::size_t begun() const { return m_begun; }

  private:
    struct State {
        std::uint32_t connection = 0;
        std::uint32_t sequence = 0;
        std::uint8_t counter = 0;
    };

    std::string takeHeader(const ipl::UInt8Array& array, State& state, StreamHeader& header);

    std::map<unsigned, State> m_streams;  // by tag
    std::size_t m_begun = 0;
};
