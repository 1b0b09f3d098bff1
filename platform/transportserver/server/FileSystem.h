#pragma once

#include <fuse3/fuse_lowlevel.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "ChannelTable.h"
#include "IdleTimer.h"
#include "NodeTable.h"
#include "OpenFileTable.h"

namespace transport {

/// The directories `connect` and `spawn`, and in them every name as an end of the channel of that name.
///
/// Each operation replies to its request, at once or, for reads and writes, when the channel can.
class FileSystem {
  public:
    explicit FileSystem(const Channel::Limits& limits);
    FileSystem(const FileSystem&) = delete;
    FileSystem& operator=(const FileSystem&) = delete;

    /// The library's table of operations; their user data is the FileSystem.
    static const fuse_lowlevel_ops& operations();

    /// Makes the thread that ends waits; call it once, before the first operation. Returns 0, or why there is none, as
    /// in `errno`.
    [[nodiscard]] int start() { return m_timer.start(); }
    /// Ends all waits, and replies to nothing afterwards; to be called when no operation runs or comes any more.
    void abort();

  private:
    static FileSystem& of(fuse_req_t request);
    static void init(void* self, fuse_conn_info* connection);
    static void lookup(fuse_req_t request, fuse_ino_t parent, const char* name);
    static void forget(fuse_req_t request, fuse_ino_t node, std::uint64_t lookups);
    static void getAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info* file);
    static void setAttributes(fuse_req_t request, fuse_ino_t node, struct stat* wanted, int which,
                              fuse_file_info* file);
    static void open(fuse_req_t request, fuse_ino_t node, fuse_file_info* file);
    static void release(fuse_req_t request, fuse_ino_t node, fuse_file_info* file);
    static void read(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset, fuse_file_info* file);
    static void write(fuse_req_t request, fuse_ino_t node, const char* bytes, std::size_t size, off_t offset,
                      fuse_file_info* file);
    static void readDirectory(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                              fuse_file_info* file);

    static struct stat attributesOf(fuse_ino_t node);
    void enter(fuse_req_t request, fuse_ino_t node);
    std::vector<std::string> entriesOf(fuse_ino_t directory) const;

    NodeTable m_nodes;
    ChannelTable m_channels;
    OpenFileTable m_files;
    IdleTimer m_timer;
};

}  // namespace transport
