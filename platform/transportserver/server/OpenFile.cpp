#include "OpenFile.h"

namespace transport {

OpenFile::OpenFile(ChannelTable& channels, const NodeTable::Node& node)
    : m_channels(channels),
      m_end(node.end),
      m_name(node.name),
      m_channel(m_end == End::Connect ? channels.openForWriting(m_name) : channels.openForReading(m_name, m_reader)) {}

OpenFile::~OpenFile() {
    if (m_end == End::Connect)
        m_channel->removeWriter();
    else
        m_channel->removeReader();
    m_channels.removeUnused(m_name);
}

}  // namespace transport
