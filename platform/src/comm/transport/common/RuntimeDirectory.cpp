#include "RuntimeDirectory.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

#include "SystemError.h"

namespace comm::transport {
namespace {

constexpr mode_t OthersRights = S_IRWXG | S_IRWXO;

ipl::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool refuse(const ipl::string& text, int line) {
    return error::record(Error::Transport, text, __FILE__, line);
}

}  // namespace

bool RuntimeDirectory::open() {
    if (choosePath()) return true;
    if (::mkdir(m_path.c_str(), S_IRWXU) != 0 && errno != EEXIST) return failed("mkdir " + m_path, __FILE__, __LINE__);
    // A link in the directory's place is somebody's attempt to lead the bench elsewhere, so it is not followed.
    m_directory = FileDescriptor(::open(m_path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_directory) return failed("open the directory " + m_path, __FILE__, __LINE__);
    if (check()) return true;
    return placeSentinel() && failed("create " + pathOf(Sentinel), __FILE__, __LINE__);
}

bool RuntimeDirectory::placeSentinel() const {
    constexpr int Flags = O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC;
    const FileDescriptor file(::openat(fd(), Sentinel, Flags, S_IRUSR | S_IWUSR));
    // Without descriptors there is a missing one, but no missing directory.
    return !file && errno != EMFILE && errno != ENFILE;
}

bool RuntimeDirectory::choosePath() {
    const ipl::string runtime = environment("XDG_RUNTIME_DIR");
    if (runtime.empty()) {
        const ipl::string temporary = environment("TMPDIR");
        if (!temporary.empty() && temporary.front() != '/')
            return refuse("TMPDIR is '" + temporary + "', which is no absolute path: mend or unset it", __LINE__);
        m_path = (temporary.empty() ? "/tmp" : temporary) + "/zidbench-" + std::to_string(::geteuid());
        return false;
    }
    struct stat status {};
    if (runtime.front() != '/')
        return refuse("XDG_RUNTIME_DIR is '" + runtime + "', which is no absolute path: mend or unset it", __LINE__);
    if (::stat(runtime.c_str(), &status) != 0)
        return failed("XDG_RUNTIME_DIR " + runtime + " (mend or unset it)", __FILE__, __LINE__);
    if (status.st_uid != ::geteuid())
        return refuse("XDG_RUNTIME_DIR " + runtime + " belongs to user " + std::to_string(status.st_uid) + ", not to " +
                          std::to_string(::geteuid()) + ": set it to a directory of your own or unset it",
                      __LINE__);
    m_path = runtime + "/zidbench";
    return false;
}

bool RuntimeDirectory::check() const {
    struct stat status {};
    if (::fstat(fd(), &status) != 0) return failed("stat " + m_path, __FILE__, __LINE__);
    if (status.st_uid != ::geteuid())
        return refuse(m_path + " belongs to user " + std::to_string(status.st_uid) +
                          ": remove it, or set XDG_RUNTIME_DIR to a directory of your own",
                      __LINE__);
    if ((status.st_mode & OthersRights) != 0) return refuse(m_path + " is open to others: chmod 700 it", __LINE__);
    if (::faccessat(fd(), ".", R_OK | W_OK | X_OK, AT_EACCESS) != 0)
        return failed("write to the directory " + m_path, __FILE__, __LINE__);
    return false;
}

bool RuntimeDirectory::isInPlace() const {
    struct stat mine {};
    struct stat there {};
    return ::fstat(fd(), &mine) == 0 && ::lstat(m_path.c_str(), &there) == 0 && mine.st_dev == there.st_dev &&
           mine.st_ino == there.st_ino;
}

ipl::string RuntimeDirectory::openPathOf(const ipl::string& fileName) const {
    return "/proc/self/fd/" + std::to_string(fd()) + '/' + fileName;
}

sockaddr_un RuntimeDirectory::address(const ipl::string& fileName) const {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, openPathOf(fileName).c_str(), sizeof address.sun_path - 1);
    return address;
}

ipl::string RuntimeDirectory::id() const {
    struct stat status {};
    (void)::fstat(fd(), &status);  // of an open descriptor
    return std::to_string(status.st_dev) + ':' + std::to_string(status.st_ino);
}

bool RuntimeDirectory::holds(const ipl::string& fileName, const struct stat& file) const {
    struct stat named {};
    return ::fstatat(fd(), fileName.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && named.st_dev == file.st_dev &&
           named.st_ino == file.st_ino;
}

void RuntimeDirectory::remove(const ipl::string& fileName) const {
    ::unlinkat(fd(), fileName.c_str(), 0);  // missing already is as good
}

}  // namespace comm::transport
