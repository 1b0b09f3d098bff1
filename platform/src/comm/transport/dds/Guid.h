#pragma once

#include <dds/dds.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace comm::transport {

/// What the engine calls an entity in the whole domain, such that it can be compared.
using Guid = std::array<std::uint8_t, sizeof(dds_guid_t)>;

inline Guid guidOf(const dds_guid_t& guid) {
    Guid copy;
    std::ranges::copy(guid.v, copy.begin());
    return copy;
}

}  // namespace comm::transport
