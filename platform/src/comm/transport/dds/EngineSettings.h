#pragma once

#include "../../configuration/AgentConfiguration.h"
#include "ipl/string.h"

namespace comm::transport {

/// The engine's own configuration, in XML, that says what the agent's says. What CYCLONEDDS_URI says comes after it
/// and goes before it.
ipl::string engineSettings(const AgentConfiguration& configuration);

}  // namespace comm::transport
