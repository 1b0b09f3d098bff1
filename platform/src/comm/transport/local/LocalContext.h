#pragma once

#include "../common/CurrentDirectory.h"
#include "../common/DispatchThreads.h"
#include "../common/Warnings.h"

namespace comm::transport {

/// What the local transport's listeners share. Outlives them and their threads.
struct LocalContext {
    CurrentDirectory directory;
    DispatchThreads threads;
    Warnings warnings;
};

}  // namespace comm::transport
