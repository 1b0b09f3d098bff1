#pragma once

#include <dds/dds.h>

#include "ipl/string.h"

namespace comm::transport {

/// Settings of a reader or a writer.
class Qos {
  public:
    /// None.
    Qos() : m_qos(::dds_create_qos()) {}
    /// How calls travel: every one, in order, within one partition.
    explicit Qos(const ipl::string& partition);
    Qos(const Qos&) = delete;
    Qos& operator=(const Qos&) = delete;
    ~Qos() { ::dds_delete_qos(m_qos); }

    dds_qos_t* get() const { return m_qos; }

  private:
    dds_qos_t* const m_qos;
};

}  // namespace comm::transport
