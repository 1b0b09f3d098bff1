#pragma once

#include <memory>

#include "../../configuration/AgentConfiguration.h"
#include "../Transport.h"

namespace comm::transport {

/// Makes the transport between machines. Null where the program was built without it, with the reason in the error
/// storage.
std::unique_ptr<Transport> makeDdsTransport(const AgentConfiguration& configuration);

}  // namespace comm::transport
