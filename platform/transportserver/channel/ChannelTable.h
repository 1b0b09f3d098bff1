#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Channel.h"

namespace transport {

/// The channels by their names. A channel exists while an end of it is open or bytes wait in it; the bench's own
/// always. Safe for several threads at once.
class ChannelTable {
  public:
    explicit ChannelTable(const Channel::Limits& limits);

    /// Finds the channel or makes it, and adds a writer or a reader to it.
    std::shared_ptr<Channel> openForWriting(const std::string& name);
    std::shared_ptr<Channel> openForReading(const std::string& name, Channel::Reader& reader);
    /// Forgets the channel if nobody uses it any more; to be called when an end has been closed.
    void removeUnused(const std::string& name);

    /// In alphabetical order.
    std::vector<std::string> names() const;

    /// Channel::expire() and Channel::abort() of all channels.
    std::optional<Channel::TimePoint> expire(Channel::TimePoint now);
    void abort(int error);

  private:
    static constexpr const char* Permanent = "zidfile";

    std::shared_ptr<Channel> find(const std::string& name);
    std::vector<std::shared_ptr<Channel>> all() const;

    const Channel::Limits m_limits;
    mutable std::mutex m_mutex;  // guards the map, and that no end is opened while its channel is removed
    std::map<std::string, std::shared_ptr<Channel>> m_channels;
};

}  // namespace transport
