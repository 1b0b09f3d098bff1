#pragma once

#include "ChunkFile.h"
#include "Transfer.h"
#include "osal/common/StopWatch.h"

/// Reads chunks from a channel and reports how fast they come. What is in them is not examined.
class FileReceiver final : public Transfer {
  public:
    /// `watch` must outlive the receiver, which has it for itself.
    FileReceiver(Parameters parameters, std::atomic<bool>& running, Print print, osal::StopWatchBase& watch);

    /// Runs the transfer; call it once.
    void run();

  private:
    void report() const;
    void receive(ChunkFile& file, const Chunk& chunk);
    void reportProgress();
    void reportEnd();

    osal::StopWatchBase& m_watch;
    std::uint32_t m_reportedAt = 0;  // ms on the watch
};
