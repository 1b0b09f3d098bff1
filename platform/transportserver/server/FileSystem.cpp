#include "FileSystem.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "FuseRead.h"
#include "FuseWrite.h"

namespace transport {
namespace {

constexpr std::size_t LongestName = 255;
constexpr double Forever = 1e9;  // seconds

Channel::TimePoint now() {
    return std::chrono::steady_clock::now();
}

}  // namespace

FileSystem::FileSystem(const Channel::Limits& limits)
    : m_channels(limits), m_timer([this](Channel::TimePoint time) { return m_channels.expire(time); }) {}

const fuse_lowlevel_ops& FileSystem::operations() {
    static const fuse_lowlevel_ops Operations = [] {
        fuse_lowlevel_ops operations{};
        operations.init = &init;
        operations.lookup = &lookup;
        operations.forget = &forget;
        operations.getattr = &getAttributes;
        operations.setattr = &setAttributes;
        operations.open = &open;
        operations.release = &release;
        operations.read = &read;
        operations.write = &write;
        operations.readdir = &readDirectory;
        return operations;
    }();
    return Operations;
}

void FileSystem::abort() {
    m_timer.stop();
    m_channels.abort(ECONNABORTED);
}

FileSystem& FileSystem::of(fuse_req_t request) {
    return *static_cast<FileSystem*>(fuse_req_userdata(request));
}

void FileSystem::init(void* /*self*/, fuse_conn_info* connection) {
    // Requests come in memory that a channel can keep, which pipes are not.
    connection->want &= ~static_cast<unsigned>(FUSE_CAP_SPLICE_READ);
}

// Every name is there, since to open it is to make its channel.
void FileSystem::lookup(fuse_req_t request, fuse_ino_t parent, const char* name) {
    FileSystem& self = of(request);
    if (std::strlen(name) > LongestName) {
        (void)fuse_reply_err(request, ENAMETOOLONG);
    } else if (parent != NodeTable::Root) {
        self.enter(request, self.m_nodes.add(parent == NodeTable::Connect ? End::Connect : End::Spawn, name));
    } else if (std::strcmp(name, "connect") == 0) {
        self.enter(request, NodeTable::Connect);
    } else if (std::strcmp(name, "spawn") == 0) {
        self.enter(request, NodeTable::Spawn);
    } else {
        (void)fuse_reply_err(request, ENOENT);
    }
}

void FileSystem::enter(fuse_req_t request, fuse_ino_t node) {
    fuse_entry_param entry{};
    entry.ino = node;
    entry.attr = attributesOf(node);
    entry.attr_timeout = Forever;
    // A file's name is looked up for every open, which makes a node of its own for each.
    entry.entry_timeout = NodeTable::isDirectory(node) ? Forever : 0;
    // A failed reply means that the lookup was interrupted: nobody will forget the node.
    if (fuse_reply_entry(request, &entry) != 0) m_nodes.remove(node);
}

void FileSystem::forget(fuse_req_t request, fuse_ino_t node, std::uint64_t /*lookups*/) {
    of(request).m_nodes.remove(node);
    fuse_reply_none(request);
}

void FileSystem::getAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info* /*file*/) {
    const struct stat attributes = attributesOf(node);
    (void)fuse_reply_attr(request, &attributes, Forever);
}

// A shell's redirection truncates, a copy sets times and rights: a channel has none of it to change.
void FileSystem::setAttributes(fuse_req_t request, fuse_ino_t node, struct stat* /*wanted*/, int /*which*/,
                               fuse_file_info* file) {
    getAttributes(request, node, file);
}

void FileSystem::open(fuse_req_t request, fuse_ino_t node, fuse_file_info* file) {
    FileSystem& self = of(request);
    const NodeTable::Node found = self.m_nodes.find(node);
    const int wrongWay = found.end == End::Connect ? O_RDONLY : O_WRONLY;
    if ((file->flags & O_ACCMODE) == wrongWay) {
        (void)fuse_reply_err(request, EACCES);
        return;
    }
    file->fh = self.m_files.add(std::make_unique<OpenFile>(self.m_channels, found));
    file->direct_io = 1;
    file->nonseekable = 1;
    // A failed reply means that the open was interrupted: no release will come.
    if (fuse_reply_open(request, file) != 0) self.m_files.remove(file->fh);
}

void FileSystem::release(fuse_req_t request, fuse_ino_t /*node*/, fuse_file_info* file) {
    of(request).m_files.remove(file->fh);
    (void)fuse_reply_err(request, 0);
}

void FileSystem::read(fuse_req_t request, fuse_ino_t /*node*/, std::size_t size, off_t /*offset*/,
                      fuse_file_info* file) {
    FileSystem& self = of(request);
    OpenFile& from = self.m_files.find(file->fh);
    if (from.end() != End::Spawn) {
        (void)fuse_reply_err(request, EBADF);
        return;
    }
    auto reading = std::make_unique<FuseRead>(request, from.channel());
    if (const auto due = from.channel().read(from.reader(), size, std::move(reading), now())) self.m_timer.arm(*due);
}

void FileSystem::write(fuse_req_t request, fuse_ino_t /*node*/, const char* bytes, std::size_t size, off_t /*offset*/,
                       fuse_file_info* file) {
    FileSystem& self = of(request);
    OpenFile& into = self.m_files.find(file->fh);
    if (into.end() != End::Connect) {
        (void)fuse_reply_err(request, EBADF);
        return;
    }
    const std::span written(reinterpret_cast<const std::byte*>(bytes), size);
    auto writing = std::make_unique<FuseWrite>(request, written, into.channel());
    if (const auto due = into.channel().write(std::move(writing), now())) self.m_timer.arm(*due);
}

void FileSystem::readDirectory(fuse_req_t request, fuse_ino_t node, std::size_t size, off_t offset,
                               fuse_file_info* /*file*/) {
    const std::vector<std::string> entries = of(request).entriesOf(node);
    std::vector<char> buffer(size);
    std::size_t used = 0;
    for (auto i = static_cast<std::size_t>(offset); i < entries.size(); ++i) {
        const bool isDirectory = node == NodeTable::Root || i < 2;
        const struct stat attributes = attributesOf(isDirectory ? NodeTable::Root : NodeTable::FirstFile);
        const std::size_t needed = fuse_add_direntry(request, buffer.data() + used, size - used, entries[i].c_str(),
                                                     &attributes, static_cast<off_t>(i + 1));
        if (needed > size - used) break;
        used += needed;
    }
    (void)fuse_reply_buf(request, buffer.data(), used);
}

struct stat FileSystem::attributesOf(fuse_ino_t node) {
    struct stat attributes {};
    attributes.st_ino = node;
    attributes.st_mode = NodeTable::isDirectory(node) ? S_IFDIR | 0700 : S_IFREG | 0600;
    attributes.st_nlink = NodeTable::isDirectory(node) ? 2 : 1;
    attributes.st_uid = ::geteuid();
    attributes.st_gid = ::getegid();
    return attributes;
}

std::vector<std::string> FileSystem::entriesOf(fuse_ino_t directory) const {
    std::vector<std::string> entries{".", ".."};
    if (directory == NodeTable::Root) {
        entries.insert(entries.end(), {"connect", "spawn"});
    } else {
        const std::vector<std::string> names = m_channels.names();
        entries.insert(entries.end(), names.begin(), names.end());
    }
    return entries;
}

}  // namespace transport
