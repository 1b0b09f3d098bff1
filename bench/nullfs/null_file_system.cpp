// The least that a FUSE file system can do: one file, `null`, that throws away what is written and reads as zeros.
//
//     null_file_system MOUNTPOINT

#define FUSE_USE_VERSION 312

#include <fuse3/fuse_lowlevel.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

namespace {

constexpr fuse_ino_t Directory = FUSE_ROOT_ID;
constexpr fuse_ino_t File = FUSE_ROOT_ID + 1;
constexpr double Forever = 1e9;      // seconds
constexpr unsigned int Threads = 2;  // one for each of writer and reader; with more it is slower

// The kernel asks for no more at once.
std::array<char, std::size_t{1} << 20> zeros;

struct stat attributesOf(fuse_ino_t node) {
    struct stat attributes {};
    attributes.st_ino = node;
    attributes.st_mode = node == Directory ? S_IFDIR | 0555 : S_IFREG | 0666;
    attributes.st_nlink = 1;
    return attributes;
}

void lookup(fuse_req_t request, fuse_ino_t parent, const char* name) {
    if (parent != Directory || std::string_view(name) != "null") {
        fuse_reply_err(request, ENOENT);
        return;
    }
    fuse_entry_param entry{};
    entry.ino = File;
    entry.attr = attributesOf(File);
    entry.attr_timeout = Forever;
    entry.entry_timeout = Forever;
    fuse_reply_entry(request, &entry);
}

void getAttributes(fuse_req_t request, fuse_ino_t node, fuse_file_info* /*info*/) {
    const struct stat attributes = attributesOf(node);
    fuse_reply_attr(request, &attributes, Forever);
}

void open(fuse_req_t request, fuse_ino_t /*node*/, fuse_file_info* info) {
    info->direct_io = 1;
    fuse_reply_open(request, info);
}

void read(fuse_req_t request, fuse_ino_t /*node*/, std::size_t size, off_t /*offset*/, fuse_file_info* /*info*/) {
    fuse_reply_buf(request, zeros.data(), std::min(size, zeros.size()));
}

void write(fuse_req_t request, fuse_ino_t /*node*/, const char* /*bytes*/, std::size_t size, off_t /*offset*/,
           fuse_file_info* /*info*/) {
    fuse_reply_write(request, size);
}

fuse_lowlevel_ops operations() {
    fuse_lowlevel_ops all{};
    all.lookup = lookup;
    all.getattr = getAttributes;
    all.open = open;
    all.read = read;
    all.write = write;
    return all;
}

// Returns true on failure. The loop's result is the signal when one has ended it.
bool serve(fuse_session* session) {
    fuse_loop_config* const config = fuse_loop_cfg_create();
    if (config == nullptr) return true;
    fuse_loop_cfg_set_max_threads(config, Threads);
    const bool failed = fuse_session_loop_mt(session, config) < 0;
    fuse_loop_cfg_destroy(config);
    return failed;
}

// Returns true on failure, which the library has told, as the next one does.
bool mountAndServe(fuse_session* session, const char* mountPoint) {
    if (fuse_session_mount(session, mountPoint) != 0) return true;
    std::printf("null_file_system: ready at %s\n", mountPoint);
    std::fflush(stdout);
    const bool failed = serve(session);
    fuse_session_unmount(session);
    return failed;
}

bool run(char** argv) {
    fuse_args arguments{1, argv, 0};
    const fuse_lowlevel_ops all = operations();
    fuse_session* const session = fuse_session_new(&arguments, &all, sizeof all, nullptr);
    if (session == nullptr) return true;
    const bool failed = fuse_set_signal_handlers(session) != 0 || mountAndServe(session, argv[1]);
    fuse_remove_signal_handlers(session);
    fuse_session_destroy(session);
    return failed;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s MOUNTPOINT\n", argv[0]);
        return 2;
    }
    return run(argv) ? 1 : 0;
}
