#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace transport {

/// What the server was told on its command line.
struct ServerOptions {
    std::string mountPoint = "/dev/transportserver";
    std::size_t capacity = 4U << 20;           ///< bytes of a channel
    std::chrono::milliseconds idleTime{1000};  ///< of a request

    /// Reads the command line. Nothing when the program is to end with `exitStatus`; what the user should know of it is
    /// printed then.
    static std::optional<ServerOptions> parse(int argc, const char* const* argv, int& exitStatus);
};

}  // namespace transport
