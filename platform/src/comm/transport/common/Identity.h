#pragma once

#include "comm/TrackedBase.h"
#include "ipl/string.h"

namespace comm::transport {

/// An identity as a transport keeps it.
struct Identity {
    explicit Identity(const TrackedBase::IdentityArgs& args)
        : key(args.instanceKey),
          interfaceUuid(args.interfaceUuid),
          display(args.toString()),
          fileName(args.instanceKey.uuid.toString() + '.' + std::to_string(args.instanceKey.instance)) {}

    const InstanceKey key;
    const ipl::UUID interfaceUuid;
    const ipl::string display;   ///< for people: interface name and instance
    const ipl::string fileName;  ///< begins the names of the registration's files; short, since addresses are
};

}  // namespace comm::transport
