#include "ChannelTable.h"

namespace transport {

ChannelTable::ChannelTable(const Channel::Limits& limits) : m_limits(limits) {
    (void)find(Permanent);
}

std::shared_ptr<Channel> ChannelTable::openForWriting(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Channel> channel = find(name);
    channel->addWriter();
    return channel;
}

std::shared_ptr<Channel> ChannelTable::openForReading(const std::string& name, Channel::Reader& reader) {
    const std::lock_guard lock(m_mutex);
    std::shared_ptr<Channel> channel = find(name);
    reader = channel->addReader();
    return channel;
}

void ChannelTable::removeUnused(const std::string& name) {
    const std::lock_guard lock(m_mutex);
    const auto found = m_channels.find(name);
    if (name != Permanent && found != m_channels.end() && found->second->isUnused()) m_channels.erase(found);
}

std::vector<std::string> ChannelTable::names() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::string> names;
    names.reserve(m_channels.size());
    for (const auto& [name, channel] : m_channels) names.push_back(name);
    return names;
}

std::optional<Channel::TimePoint> ChannelTable::expire(Channel::TimePoint now) {
    std::optional<Channel::TimePoint> next;
    for (const auto& channel : all()) {
        const auto due = channel->expire(now);
        if (due && (!next || *due < *next)) next = due;
    }
    return next;
}

void ChannelTable::abort(int error) {
    for (const auto& channel : all()) channel->abort(error);
}

std::shared_ptr<Channel> ChannelTable::find(const std::string& name) {
    std::shared_ptr<Channel>& channel = m_channels[name];
    if (channel == nullptr) channel = std::make_shared<Channel>(m_limits);
    return channel;
}

std::vector<std::shared_ptr<Channel>> ChannelTable::all() const {
    const std::lock_guard lock(m_mutex);
    std::vector<std::shared_ptr<Channel>> channels;
    channels.reserve(m_channels.size());
    for (const auto& [name, channel] : m_channels) channels.push_back(channel);
    return channels;
}

}  // namespace transport
