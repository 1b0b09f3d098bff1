#include "comm/TrackedReferenceBase.h"

#include <utility>

namespace comm {

TrackedReferenceBase::TrackedReferenceBase(TrackedBase* record) : m_record(record) {
    if (m_record != nullptr) m_record->m_references.fetch_add(1, std::memory_order_relaxed);
}

TrackedReferenceBase& TrackedReferenceBase::operator=(const TrackedReferenceBase& other) {
    TrackedReferenceBase taken(other);
    std::swap(m_record, taken.m_record);
    return *this;
}

void TrackedReferenceBase::release() {
    if (m_record != nullptr && m_record->m_references.fetch_sub(1, std::memory_order_acq_rel) == 2) delete m_record;
    m_record = nullptr;
}

}  // namespace comm
