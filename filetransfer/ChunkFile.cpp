#include "ChunkFile.h"

#include <cerrno>

// The stream keeps nothing back: a chunk that counts as written is with the server, and what is read of a channel is no
// more than the chunk. A process that this one starts does not hold the channel open ("e").
ChunkFile::ChunkFile(const ipl::string& path, const char* mode) : m_stream(::fopen64(path.c_str(), mode)) {
    if (m_stream != nullptr) (void)std::setvbuf(m_stream.get(), nullptr, _IONBF, 0);
}

bool ChunkFile::read(const Chunk& chunk) {
    errno = 0;
    return std::fread(chunk.data(), chunk.size(), 1, m_stream.get()) == 0 && fail();
}

bool ChunkFile::write(const Chunk& chunk) {
    errno = 0;
    return std::fwrite(chunk.data(), chunk.size(), 1, m_stream.get()) == 0 && fail();
}

bool ChunkFile::fail() {
    m_error = std::ferror(m_stream.get()) != 0 ? errno : 0;
    return true;
}
