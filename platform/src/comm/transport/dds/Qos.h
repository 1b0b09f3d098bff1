#pragma once

#include <dds/dds.h>

#include "ipl/string.h"

namespace comm::transport {

/// How calls travel: every one, in order, within one partition.
class Qos {
  public:
    explicit Qos(const ipl::string& partition);
    Qos(const Qos&) = delete;
    Qos& operator=(const Qos&) = delete;
    ~Qos() { ::dds_delete_qos(m_qos); }

    dds_qos_t* get() const { return m_qos; }

  private:
    dds_qos_t* const m_qos;
};

}  // namespace comm::transport
