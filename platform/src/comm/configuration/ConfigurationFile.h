#pragma once

#include "AgentConfiguration.h"

namespace comm {

/// The text of a configuration file, in TOML, as it is read into a configuration.
class ConfigurationFile {
  public:
    /// `path` is for messages. `configuration` must outlive the object.
    ConfigurationFile(ipl::string path, AgentConfiguration& configuration)
        : m_path(std::move(path)), m_configuration(configuration) {}

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool read(const ipl::string& text);

  private:
    struct Value;

    bool readValue(const Value& value);
    bool readTransport(const Value& value);
    bool readInterface(const Value& value);
    bool readPeers(const Value& value);
    bool readNumber(const Value& value, std::int64_t least, std::int64_t most, std::uint32_t& number);
    bool refuse(std::uint32_t line, const ipl::string& text) const;

    const ipl::string m_path;
    AgentConfiguration& m_configuration;
};

}  // namespace comm
