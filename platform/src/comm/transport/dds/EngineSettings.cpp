#include "EngineSettings.h"

#include <cstdlib>

namespace comm::transport {
namespace {

ipl::string element(const ipl::string& name, const ipl::string& content) {
    return '<' + name + '>' + content + "</" + name + '>';
}

// Loopback loses nothing and takes packets as large as there are, so calls travel in few pieces and many at a time.
constexpr const char* LoopbackSizes = "<MaxMessageSize>65500B</MaxMessageSize><FragmentSize>65000B</FragmentSize>";
constexpr const char* LoopbackWatermark = "<Watermarks><WhcHigh>2MB</WhcHigh></Watermarks>";

bool isAddress(const ipl::string& interface) {
    return interface.find_first_not_of("0123456789.") == ipl::string::npos || interface.find(':') != ipl::string::npos;
}

bool isLoopback(const ipl::string& interface) {
    return interface == "lo" || interface.starts_with("127.");
}

ipl::string general(const AgentConfiguration& configuration) {
    ipl::string content;
    const ipl::string& interface = configuration.interface;
    if (!interface.empty()) {
        content += element("Interfaces", ipl::string("<NetworkInterface ") +
                                             (isAddress(interface) ? "address" : "name") + "=\"" + interface + "\"/>");
    }
    // Where hosts have to be named, a network may well swallow what is sent to all of them.
    if (isLoopback(interface))
        content += element("AllowMulticast", "false") + LoopbackSizes;
    else if (!configuration.peers.empty())
        content += element("AllowMulticast", "spdp");
    return element("General", content);
}

// Where participants have numbers, each has ports that a peer can guess, up to the number of the last one.
ipl::string discovery(const AgentConfiguration& configuration) {
    ipl::string content = element("LeaseDuration", std::to_string(configuration.leaseMs) + "ms") +
                          element("SPDPInterval", "1s") + element("ParticipantIndex", "auto") +
                          element("MaxAutoParticipantIndex", "99");
    ipl::string peers;
    for (const ipl::string& peer : configuration.peers) peers += "<Peer address=\"" + peer + "\"/>";
    if (isLoopback(configuration.interface)) peers += "<Peer address=\"localhost\"/>";
    if (!peers.empty()) content += element("Peers", peers);
    return element("Discovery", content);
}

// A link waits itself until all that it has sent has arrived, where it may. A lost message, and the last one of a
// connection, are asked for soon.
ipl::string internal(const AgentConfiguration& configuration) {
    return element("Internal", element("WriterLingerDuration", "0s") + element("HeartbeatInterval", "10ms") +
                                   (isLoopback(configuration.interface) ? LoopbackWatermark : ""));
}

}  // namespace

ipl::string engineSettings(const AgentConfiguration& configuration) {
    ipl::string text = R"(<Domain id="any">)" + general(configuration) + discovery(configuration) +
                       internal(configuration) + "</Domain>";
    const char* const own = std::getenv("CYCLONEDDS_URI");
    if (own != nullptr && *own != '\0') text.append(",").append(own);
    return text;
}

}  // namespace comm::transport
