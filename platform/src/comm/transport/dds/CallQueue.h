#pragma once

#include <mutex>

#include "Entity.h"
#include "comm/Message.h"
#include "ipl/vector.h"

namespace comm::transport {

/// The calls that have come to a reader, in order, until they are told. They are taken out of the engine on the thread
/// that has received them, while their bytes are still in its processor's cache.
class CallQueue {
  public:
    struct Call {
        dds_instance_handle_t writer;
        std::uint64_t number;
        std::uint16_t handleSize;
        bool withArray;
        util::UInt8ArrayPtr array;  ///< also of a call without one: it is used again
    };
    using Calls = ipl::vector<Call>;

    /// Takes all that the reader has. Any thread.
    void take(dds_entity_t reader);

    /// Gives the calls that wait, in exchange for those that are done, whose arrays are used again where their
    /// receiver has not kept them. False if there are none. One thread at a time.
    bool exchange(Calls& calls);

    /// Whether a call of that writer waits. Any thread.
    bool contains(dds_instance_handle_t writer) const;

  private:
    bool takeOne(dds_entity_t reader);
    util::UInt8ArrayPtr newArray();
    void reuse(Calls& done);

    // Guards what follows, and makes calls that come on different threads stay in order.
    mutable std::mutex m_mutex;
    Calls m_calls;
    ipl::vector<util::UInt8ArrayPtr> m_arrays;
    std::size_t m_arrayBytes = 0;
};

}  // namespace comm::transport
