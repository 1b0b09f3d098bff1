#pragma once

#include "comm/TrackedBase.h"

namespace comm {

/// A counted reference to a record, or to none. The last one's release destroys the record. Different references to
/// one record may be taken and released on different threads; a single reference object belongs to one thread at a
/// time.
class TrackedReferenceBase {
  public:
    TrackedReferenceBase() = default;
    explicit TrackedReferenceBase(TrackedBase* record);
    TrackedReferenceBase(const TrackedReferenceBase& other) : TrackedReferenceBase(other.m_record) {}
    ~TrackedReferenceBase() { release(); }

    /// Releases the old record and takes the new one.
    TrackedReferenceBase& operator=(const TrackedReferenceBase& other);

    TrackedBase* record() const { return m_record; }

  private:
    void release();

    TrackedBase* m_record = nullptr;
};

}  // namespace comm
