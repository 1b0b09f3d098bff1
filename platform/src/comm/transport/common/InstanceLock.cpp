#include "InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <fstream>

#include "SystemError.h"

namespace comm::transport {

bool InstanceLock::take(std::shared_ptr<const RuntimeDirectory> directory, const Identity& identity,
                        const ipl::string& scope) {
    m_directory = std::move(directory);
    m_fileName = identity.fileName + scope + ".lock";
    // A holder that releases removes the file, perhaps just after this opened it: then the lock is worth nothing.
    for (bool locked = false; !locked || !isCurrent();)
        if (openCurrent(identity, locked)) return true;
    const ipl::string owner = std::to_string(::getpid());
    if (::ftruncate(m_file.get(), 0) != 0 || ::pwrite(m_file.get(), owner.data(), owner.size(), 0) < 0)
        return failed("write " + m_directory->pathOf(m_fileName), __FILE__, __LINE__);
    return false;
}

bool InstanceLock::openCurrent(const Identity& identity, bool& locked) {
    m_file = FileDescriptor(
        ::openat(m_directory->fd(), m_fileName.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!m_file) return failed("open " + m_directory->pathOf(m_fileName), __FILE__, __LINE__);
    if (::flock(m_file.get(), LOCK_EX | LOCK_NB) == 0) {
        locked = true;
        return false;
    }
    if (errno != EWOULDBLOCK) return failed("lock " + m_directory->pathOf(m_fileName), __FILE__, __LINE__);
    return error::record(Error::InstanceTaken, identity.display + " is registered by " + holder(), __FILE__, __LINE__);
}

bool InstanceLock::isCurrent() const {
    struct stat mine {};
    return m_file && ::fstat(m_file.get(), &mine) == 0 && m_directory->holds(m_fileName, mine);
}

bool InstanceLock::isCurrentIn(const RuntimeDirectory& directory) const {
    return isCurrent() && m_directory->id() == directory.id();
}

ipl::string InstanceLock::holder() const {
    char text[32] = {};
    if (::pread(m_file.get(), text, sizeof text - 1, 0) <= 0) return "a process that is just starting";
    ipl::string name;
    std::getline(std::ifstream("/proc/" + ipl::string(text) + "/comm"), name);
    return "process " + ipl::string(text) + (name.empty() ? "" : " (" + name + ')');
}

void InstanceLock::release() {
    if (!m_file) return;
    if (isCurrent()) m_directory->remove(m_fileName);
    m_file.reset();
}

}  // namespace comm::transport
