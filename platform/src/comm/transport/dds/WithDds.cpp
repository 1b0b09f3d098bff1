#include "DdsTransport.h"
#include "MakeDdsTransport.h"

namespace comm::transport {

std::unique_ptr<Transport> makeDdsTransport(const AgentConfiguration& configuration) {
    return std::make_unique<DdsTransport>(configuration);
}

}  // namespace comm::transport
