#pragma once

#include <cstdio>
#include <memory>

#include "Chunk.h"
#include "ipl/string.h"

/// One end of the channel, as a stream that moves whole chunks. It is closed with the object.
class ChunkFile {
  public:
    /// Opens the end that chunks are written to. Look at isOpen() for the outcome.
    static ChunkFile forWriting(const ipl::string& path) { return {path, "r+be"}; }
    /// Opens the end that chunks are read from, or makes it.
    static ChunkFile forReading(const ipl::string& path) { return {path, "w+be"}; }

    bool isOpen() const { return m_stream != nullptr; }

    /// Moves one chunk and blocks until that is done. True when no whole chunk was moved: see error().
    [[nodiscard]] bool read(const Chunk& chunk);
    [[nodiscard]] bool write(const Chunk& chunk);

    /// Why the last chunk was not moved, as in `errno`; 0 at the end of the file.
    int error() const { return m_error; }

  private:
    ChunkFile(const ipl::string& path, const char* mode);

    bool fail();

    struct Close {
        void operator()(std::FILE* stream) const { (void)std::fclose(stream); }
    };

    std::unique_ptr<std::FILE, Close> m_stream;
    int m_error = 0;
};
