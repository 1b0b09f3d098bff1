#pragma once

#include "ipl/string.h"

namespace comm {

/// What can go wrong in this library. The numbers are fixed: users compare them.
enum class Error {
    NoAgent = 1,             ///< the process has no running agent
    AgentRunning = 2,        ///< the process has an agent already
    Configuration = 3,       ///< the agent was asked for something that it does not have
    Transport = 10,          ///< the transport refused or lost something; the text says what
    NotAlive = 11,           ///< a message for a service that is not there was dropped
    MessageTooLong = 12,     ///< a message beyond the transport's limit was dropped
    InstanceTaken = 20,      ///< another registration holds the identity
    AlreadyRegistered = 21,  ///< the stub has a registration already
    NotConnected = 22        ///< a wait on what was never connected, or has been disconnected
};

namespace error {

/// The text that stands before an error's argument, such as "already registered: ".
const char* text(Error code);

/// Makes an error the pending one of the calling thread; its reason is the code's text and the argument. Gives true,
/// so that a failing operation can end with it.
bool record(Error code, const ipl::string& argument, const char* source, int line);

/// Reports on standard error that the framework cannot do what it must, and where; it returns, and the caller fails.
/// With `recorded` the text also becomes the calling thread's pending error.
void fatal(const char* text, const char* source, bool recorded);

}  // namespace error
}  // namespace comm
