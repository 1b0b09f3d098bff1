#pragma once

#include "Identity.h"
#include "Outgoing.h"

/// Why a link drops a call. Each records the reason and gives true.
namespace comm::transport::refusal {

bool notAlive(const Identity& identity);
bool tooLong(const Identity& identity, const Outgoing& call);
/// The receiver has taken so little for so long that its connection is given up.
bool tooMuchWaits(const Identity& identity);

}  // namespace comm::transport::refusal
