#include "Refusal.h"

#include "Outbox.h"
#include "comm/Error.h"

namespace comm::transport::refusal {

bool notAlive(const Identity& identity) {
    return error::record(Error::NotAlive, identity.display, __FILE__, __LINE__);
}

bool tooLong(const Identity& identity, const Outgoing& call) {
    return error::record(Error::MessageTooLong, std::to_string(call.length) + " bytes to " + identity.display, __FILE__,
                         __LINE__);
}

bool tooMuchWaits(const Identity& identity) {
    return error::record(Error::Transport,
                         identity.display + " takes nothing and more waits for it than can be kept (" +
                             std::to_string(Outbox::Limit >> 20) + " MiB); the connection is closed",
                         __FILE__, __LINE__);
}

}  // namespace comm::transport::refusal
