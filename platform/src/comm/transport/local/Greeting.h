#pragma once

#include <cstdint>

#include "../common/FileDescriptor.h"
#include "../common/Identity.h"

namespace comm::transport {

/// What a greeting says: the protocol, and the registration that is meant. Both ends are on one machine, so numbers
/// stand as it has them.
struct GreetingBody {
    static constexpr std::uint64_t Protocol = 0x32'6d'6d'6f'63'64'69'7aULL;  // "zidcomm2"

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

/// The first thing that goes through a connection, and the only one from the side that connects: who is meant, and what
/// its calls will come through.
struct Greeting {
    GreetingBody body;
    FileDescriptor memory;    ///< of the ring
    FileDescriptor doorbell;  ///< of its reader

    /// Sends one. True on failure, with the reason in `errno`.
    [[nodiscard]] static bool send(int socket, const GreetingBody& body, int memory, int doorbell);

    enum class Result {
        Complete,
        NotYet,  ///< nothing has arrived
        Short,   ///< this process has no descriptors left for what has arrived, which stays there
        Ended,   ///< the peer has closed the connection without a word
        Wrong    ///< it is no greeting; `fault` says why
    };

    /// Receives it without waiting.
    Result receive(int socket, const char*& fault);
};

}  // namespace comm::transport
