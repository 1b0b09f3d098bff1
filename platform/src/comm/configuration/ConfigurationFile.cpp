#include "ConfigurationFile.h"

#define TOML_EXCEPTIONS 0
#define TOML_HEADER_ONLY 1
#include <toml++/toml.h>

#include "comm/Error.h"

namespace comm {
namespace {

// Names and addresses of hosts and interfaces, also of those that stand in square brackets. Whatever else there may be
// would change its meaning on the way to the engine.
bool isAddress(const ipl::string& text) {
    constexpr const char* Allowed = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.:%_-@[]";
    return !text.empty() && text.find_first_not_of(Allowed) == ipl::string::npos;
}

}  // namespace

struct ConfigurationFile::Value {
    const ipl::string key;
    const toml::node& node;

    std::uint32_t line() const { return node.source().begin.line; }
    ipl::string mustBe(const ipl::string& allowed) const { return "'" + key + "' must be " + allowed; }
};

bool ConfigurationFile::read(const ipl::string& text) {
    const toml::parse_result result = toml::parse(text, m_path);
    if (!result) return refuse(result.error().source().begin.line, ipl::string(result.error().description()));
    for (const auto& [key, node] : result.table())
        if (readValue({ipl::string(key.str()), node})) return true;
    return false;
}

bool ConfigurationFile::readValue(const Value& value) {
    if (value.key == "transport") return readTransport(value);
    if (value.key == "interface") return readInterface(value);
    if (value.key == "peers") return readPeers(value);
    if (value.key == "domain") return readNumber(value, 0, AgentConfiguration::MaxDomain, m_configuration.domain);
    if (value.key == "lease_ms")
        return readNumber(value, AgentConfiguration::MinLease, AgentConfiguration::MaxLease, m_configuration.leaseMs);
    return refuse(value.line(),
                  "'" + value.key + "' is unknown; there are transport, domain, interface, peers and lease_ms");
}

bool ConfigurationFile::readTransport(const Value& value) {
    const std::optional<ipl::string> name = value.node.value_exact<ipl::string>();
    if (name != "local" && name != "dds") return refuse(value.line(), value.mustBe(R"("local" or "dds")"));
    m_configuration.transport =
        name == "dds" ? AgentConfiguration::Transport::Dds : AgentConfiguration::Transport::Local;
    return false;
}

bool ConfigurationFile::readInterface(const Value& value) {
    const std::optional<ipl::string> name = value.node.value_exact<ipl::string>();
    if (!name || !isAddress(*name))
        return refuse(value.line(), value.mustBe("the name or the address of a network interface, such as \"eth0\""));
    m_configuration.interface = *name;
    return false;
}

bool ConfigurationFile::readPeers(const Value& value) {
    const auto wrong = [&] {
        return refuse(value.line(),
                      value.mustBe("a list of the names or addresses of hosts, such as [\"192.168.1.2\"]"));
    };
    if (!value.node.is_array()) return wrong();
    for (const toml::node& node : *value.node.as_array()) {
        const std::optional<ipl::string> name = node.value_exact<ipl::string>();
        if (!name || !isAddress(*name)) return wrong();
        m_configuration.peers.push_back(*name);
    }
    return false;
}

bool ConfigurationFile::readNumber(const Value& value, std::int64_t least, std::int64_t most, std::uint32_t& number) {
    const std::optional<std::int64_t> given = value.node.value_exact<std::int64_t>();
    if (!given || *given < least || *given > most)
        return refuse(value.line(),
                      value.mustBe("a whole number from " + std::to_string(least) + " to " + std::to_string(most)));
    number = static_cast<std::uint32_t>(*given);
    return false;
}

bool ConfigurationFile::refuse(std::uint32_t line, const ipl::string& text) const {
    return error::record(Error::Configuration, m_path + ':' + std::to_string(line) + ": " + text, __FILE__, __LINE__);
}

}  // namespace comm
