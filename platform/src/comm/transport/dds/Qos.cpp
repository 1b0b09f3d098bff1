#include "Qos.h"

namespace comm::transport {

Qos::Qos(const ipl::string& partition) : Qos() {
    // A writer that may wait for a moment leaves the flow control to the engine, and costs its user nothing to speak of
    // when the receiver is stopped.
    ::dds_qset_reliability(m_qos, DDS_RELIABILITY_RELIABLE, DDS_MSECS(2));
    ::dds_qset_history(m_qos, DDS_HISTORY_KEEP_ALL, DDS_LENGTH_UNLIMITED);
    // A writer knows its reader before the reader knows the writer, and what it writes in between must not be lost.
    ::dds_qset_durability(m_qos, DDS_DURABILITY_TRANSIENT_LOCAL);
    ::dds_qset_partition1(m_qos, partition.c_str());
}

}  // namespace comm::transport
