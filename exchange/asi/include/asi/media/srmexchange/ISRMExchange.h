#pragma once

#include <cstdint>

#include "comm/TrackedBase.h"
#include "util/CITypesFactory.h"
#include "util/SharedPtr.h"

/// What both ends of the interface have in common: its identity and the parameters of its one operation.
namespace ISRMExchange {

using DataPtr = util::UInt8ArrayPtr;

/// The second item that a message could carry. No message of this interface does.
struct Extra {};
using ExtraPtr = util::SharedPtr<Extra>;

constexpr const char* InterfaceName = "asi.media.srmexchange.ISRMExchange";

/// The same for every instance.
constexpr ipl::UUID KeyUuid{0x8ebd7ae6, 0xaaee, 0x11df, 0xac5e, 0x53, 0xa6, 0xf4, 0x2e, 0x2b, 0x7d};
constexpr ipl::UUID InterfaceUuid{0xe4d2ffd2, 0x7073, 0x53d4, 0xb17d, 0x68, 0xce, 0x56, 0x97, 0xfc, 0x05};

constexpr comm::InstanceKey keyOf(std::uint32_t instance) {
    return {KeyUuid, instance};
}

/// The identity under which registrations and proxies of an instance meet. `key` must outlive it.
constexpr comm::TrackedBase::IdentityArgs identityOf(const comm::InstanceKey& key) {
    return {key, InterfaceUuid, InterfaceName};
}

/// A test client of instance N is answered on the reply service of this instance.
constexpr std::uint32_t replyInstanceOf(std::uint32_t instance) {
    return instance + 100;
}

}  // namespace ISRMExchange
