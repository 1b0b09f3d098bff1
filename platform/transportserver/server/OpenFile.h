#pragma once

#include <memory>
#include <string>

#include "ChannelTable.h"
#include "NodeTable.h"

namespace transport {

/// An end of a channel as one process has it open. It is closed with the object.
class OpenFile {
  public:
    /// `channels` must outlive the object.
    OpenFile(ChannelTable& channels, const NodeTable::Node& node);
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile();

    End end() const { return m_end; }
    Channel& channel() const { return *m_channel; }
    /// Of an end of the kind Spawn.
    const Channel::Reader& reader() const { return m_reader; }

  private:
    ChannelTable& m_channels;
    const End m_end;
    const std::string m_name;
    Channel::Reader m_reader{};
    std::shared_ptr<Channel> m_channel;
};

}  // namespace transport
