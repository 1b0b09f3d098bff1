#include "RingMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "../common/SystemError.h"

namespace comm::transport {
namespace {

// Without them the other side could take pages away under our feet, and using them would end the process.
constexpr int Seals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

// Of later kernels than the C library's headers may know.
constexpr unsigned NoExecSeal = 8;  // MFD_NOEXEC_SEAL

// Some systems refuse memory that could become a program. Kernels that know no other memory refuse to be asked.
FileDescriptor makeFile() {
    constexpr unsigned Flags = MFD_CLOEXEC | MFD_ALLOW_SEALING;
    const int file = ::memfd_create("zidbench-ring", Flags | NoExecSeal);
    return FileDescriptor(file < 0 && errno == EINVAL ? ::memfd_create("zidbench-ring", Flags) : file);
}

constexpr std::uint32_t roundedUp(std::uint32_t size, std::uint32_t unit) {
    return (size + unit - 1) / unit * unit;
}

}  // namespace

RingMemory::~RingMemory() {
    if (m_control != nullptr) ::munmap(m_control, FileSize);
}

bool RingMemory::create(FileDescriptor& file) {
    file = makeFile();
    if (!file) return failed("memfd_create for a connection", __FILE__, __LINE__);
    if (::ftruncate(file.get(), FileSize) != 0 || ::fcntl(file.get(), F_ADD_SEALS, Seals) != 0)
        return failed("set up the memory of a connection", __FILE__, __LINE__);
    return map(file.get()) && failed("mmap for a connection", __FILE__, __LINE__);
}

const char* RingMemory::adopt(const FileDescriptor& file) {
    struct stat status {};
    const int seals = ::fcntl(file.get(), F_GET_SEALS);
    if (seals < 0 || (seals & Seals) != Seals) return "its memory is not sealed";
    if (::fstat(file.get(), &status) != 0 || status.st_size != FileSize) return "its memory has a wrong size";
    return map(file.get()) ? "its memory cannot be mapped" : nullptr;
}

bool RingMemory::map(int file) {
    void* const memory = ::mmap(nullptr, FileSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED) return true;
    m_control = static_cast<RingControl*>(memory);
    return false;
}

std::uint32_t RingMemory::systemPageSize() {
    static const auto size = static_cast<std::uint32_t>(::sysconf(_SC_PAGESIZE));
    return size;
}

// The ring begins within a page where pages are large. The kernel wants to hear of whole ones from their beginning.
bool RingMemory::populate(std::uint32_t from, std::uint32_t to) {
    const std::uint32_t begin = (ControlSize + from) / m_pageSize * m_pageSize;
    const std::uint32_t end = roundedUp(ControlSize + to, m_pageSize);
    // A kernel that does not know how to do it in advance makes the pages when they are used.
    return ::madvise(memory() + begin, std::min(end, FileSize) - begin, MADV_POPULATE_WRITE) != 0 && errno != EINVAL;
}

bool RingMemory::discard(std::uint32_t from) {
    const std::uint32_t begin = roundedUp(ControlSize + from, m_pageSize);
    return begin < FileSize && ::madvise(memory() + begin, FileSize - begin, MADV_REMOVE) != 0;
}

}  // namespace comm::transport
