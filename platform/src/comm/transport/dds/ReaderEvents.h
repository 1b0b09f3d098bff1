#pragma once

#include <dds/dds.h>

namespace comm::transport {

/// What a reader of calls tells, on threads of the engine.
class ReaderEvents {
  public:
    virtual ~ReaderEvents() = default;

    /// Calls have come. It may be on a thread that is just writing, when the writer is of this process.
    virtual void callsCame(dds_entity_t reader) = 0;
    /// A writer has matched or is gone.
    virtual void writersChanged() = 0;
};

}  // namespace comm::transport
