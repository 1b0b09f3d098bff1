#include "ServerLock.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <string_view>
#include <thread>

namespace transport {
namespace {

constexpr int Attempts = 20;
constexpr unsigned LongestPause = 25;  // ms

// The FNV-1a hash, which is the same in every program.
std::uint64_t hashOf(std::string_view bytes) {
    std::uint64_t hash = 14695981039346656037ULL;
    for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211ULL;
    return hash;
}

std::uint64_t placeOf(const struct stat& folder, const std::string& name) {
    const std::string text = std::to_string(folder.st_dev) + ':' + std::to_string(folder.st_ino) + ':' + name;
    return hashOf(text) >> 2;  // offsets of files are positive, their ends too
}

struct flock lockAt(std::uint64_t place, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(place);
    lock.l_len = 1;
    return lock;
}

// Two that try at once see each other; after pauses of different lengths one of them is first.
void pauseAtRandom() {
    unsigned char number = 0;
    (void)::getrandom(&number, sizeof number, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(1 + number % LongestPause));
}

}  // namespace

ServerLock::Result ServerLock::take(const std::filesystem::path& mountPoint) {
    struct stat folder {};
    m_folder = ::open(mountPoint.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (m_folder < 0 || ::fstat(m_folder, &folder) != 0) return Result::Failed;
    m_place = placeOf(folder, mountPoint.filename());
    Result result = tryOnce();
    for (int i = 1; i < Attempts && result == Result::HeldByAnother; ++i) {
        pauseAtRandom();
        result = tryOnce();
    }
    return result;
}

// A folder cannot be opened for writing, so the lock is a shared one; whoever is not alone with it gives it back.
ServerLock::Result ServerLock::tryOnce() const {
    struct flock own = lockAt(m_place, F_RDLCK);
    struct flock others = lockAt(m_place, F_WRLCK);
    if (::fcntl(m_folder, F_OFD_SETLK, &own) != 0 || ::fcntl(m_folder, F_OFD_GETLK, &others) != 0)
        return Result::Failed;
    if (others.l_type == F_UNLCK) return Result::Taken;
    own.l_type = F_UNLCK;
    return ::fcntl(m_folder, F_OFD_SETLK, &own) == 0 ? Result::HeldByAnother : Result::Failed;
}

void ServerLock::release() {
    if (m_folder >= 0) (void)::close(m_folder);
    m_folder = -1;
}

}  // namespace transport
