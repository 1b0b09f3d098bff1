#pragma once

#include <utility>

#include "ChunkFile.h"
#include "Transfer.h"

/// Writes chunks into a channel; byte k of each is k modulo 256.
class FileSender final : public Transfer {
  public:
    FileSender(Parameters parameters, std::atomic<bool>& running, Print print)
        : Transfer(std::move(parameters), running, std::move(print)) {}

    /// Runs the transfer; call it once.
    void run();

  private:
    void report() const;
    void send(ChunkFile& file, const Chunk& chunk);
};
