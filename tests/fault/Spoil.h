#pragma once

#include <fcntl.h>
#include <sys/eventfd.h>

/// Makes a doorbell one whose every further ring by the counter would wait for ever, for all that share it.
inline void spoil(int bell) {
    (void)::fcntl(bell, F_SETFL, O_NONBLOCK);
    for (eventfd_t more = eventfd_t{1} << 63U; more > 0; more >>= 1U) (void)::eventfd_write(bell, more);
    (void)::fcntl(bell, F_SETFL, 0);
}
