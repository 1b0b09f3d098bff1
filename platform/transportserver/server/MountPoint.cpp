#include "MountPoint.h"

#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Mount.h"
#include "PathWalk.h"

namespace transport {
namespace {

constexpr const char* ChooseAnother = "choose an empty directory or a new one, such as /tmp/transportserver";

}  // namespace

MountPoint::~MountPoint() {
    if (m_isMade) (void)::rmdir(m_absolute.c_str());
}

bool MountPoint::prepare() {
    return locate() || lock() || clear() || makeDirectory();
}

// Only the folders above are looked at: an access to a mount point whose server was killed fails, and one to that of a
// server that stands still does not return.
bool MountPoint::locate() {
    std::error_code error;
    m_absolute = PathWalk().run(m_path, error);
    if (!error) std::filesystem::create_directories(m_absolute.parent_path(), error);
    return error && fail(error.message(), ChooseAnother);
}

bool MountPoint::lock() {
    switch (m_lock.take(m_absolute)) {
        case ServerLock::Result::Taken:
            return false;
        case ServerLock::Result::HeldByAnother:
            return refuseTaken();
        case ServerLock::Result::Failed:
            break;
    }
    const std::string cause = std::strerror(errno);
    return fail("its folder cannot be locked: " + cause, "choose a directory in a folder that this user may read");
}

bool MountPoint::refuseTaken() {
    const auto mount = Mount::at(m_absolute);
    const pid_t server = mount && mount->isTransportServer() ? mount->server() : 0;
    if (server == 0) return fail("is in use by another transport server", "end that or choose another directory");
    const std::string id = std::to_string(server);
    return fail("is served already by process " + id, "end that (kill " + id + ") or choose another directory");
}

// No other server lives, since the lock is taken.
bool MountPoint::clear() {
    while (const auto mount = Mount::at(m_absolute)) {
        if (!mount->isTransportServer() || !mount->isFor(place()))
            return fail("is the mount point of " + mount->source + " (" + mount->type + ")",
                        "unmount that or choose another directory");
        if (unmountStale())
            return fail("is left over from a server that was killed, and cannot be unmounted",
                        "unmount it as the user who has mounted it, or as root (umount -l)");
    }
    return false;
}

bool MountPoint::unmountStale() {
    if (::umount2(m_absolute.c_str(), MNT_DETACH) == 0) return false;
    const pid_t child = ::fork();
    if (child == 0) {
        ::execlp("fusermount3", "fusermount3", "-u", "-q", "-z", "--", m_absolute.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    return child < 0 || ::waitpid(child, &status, 0) != child || status != 0;
}

bool MountPoint::makeDirectory() {
    std::error_code error;
    m_isMade = std::filesystem::create_directory(m_absolute, error);
    if (m_isMade) return false;
    if (error && error != std::errc::file_exists) return fail("cannot be made: " + error.message(), ChooseAnother);
    const auto entries = std::filesystem::directory_iterator(m_absolute, error);
    if (error) return fail(error.message(), ChooseAnother);
    // What is in it could not be seen while the server runs.
    return entries != std::filesystem::directory_iterator() && fail("is not empty", ChooseAnother);
}

bool MountPoint::fail(const std::string& cause, const std::string& mend) {
    m_reason.append(m_path).append(": ").append(cause).append(": ").append(mend);
    return true;
}

}  // namespace transport
