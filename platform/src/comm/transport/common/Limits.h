#pragma once

#include <cstdint>

namespace comm::transport {

/// The longest array that travels. Far beyond what the bench sends, so a length above it is garbage.
constexpr std::uint32_t MaxArray = 64U << 20;

}  // namespace comm::transport
