#pragma once

#include <cstdint>

#include "Identity.h"

namespace comm::transport {

/// How a call travels: a header, and then `length` bytes. Both ends are on one machine, so numbers stand as it has
/// them.
struct FrameHeader {
    enum Kind : std::uint16_t {
        Greeting = 0x5a01,      ///< the first frame of a connection: who is meant
        Call = 0x5a02,          ///< a call without an array; no bytes follow
        CallWithArray = 0x5a03  ///< a call whose array is the bytes that follow
    };

    std::uint32_t length;
    std::uint16_t kind;
    std::uint16_t handleSize;
};
static_assert(sizeof(FrameHeader) == 8);

/// The longest array that travels. Far beyond what the bench sends, so a length above it is garbage.
constexpr std::uint32_t MaxArray = 64U << 20;

/// What a greeting says: the protocol, and the registration that is meant.
struct GreetingBody {
    static constexpr std::uint64_t Protocol = 0x31'6d'6d'6f'63'64'69'7aULL;  // "zidcomm1"

    explicit GreetingBody(const Identity& identity)
        : key(identity.key.uuid.bytes()), interface(identity.interfaceUuid.bytes()), instance(identity.key.instance) {}
    GreetingBody() = default;

    friend bool operator==(const GreetingBody&, const GreetingBody&) = default;

    std::uint64_t protocol = Protocol;
    ipl::UUID::Bytes key{};
    ipl::UUID::Bytes interface {};
    std::uint32_t instance = 0;
    std::uint32_t reserved = 0;
};
static_assert(sizeof(GreetingBody) == 48);

}  // namespace comm::transport
