#include "comm/Error.h"

#include "ipl/ErrorOutput.h"
#include "ipl/iostream.h"

namespace comm::error {

const char* text(Error code) {
    switch (code) {
        case Error::NoAgent:
            return "no agent runs in this process, so nothing can be reached: ";
        case Error::AgentRunning:
            return "this process has an agent already: ";
        case Error::Configuration:
            return "the agent cannot be configured: ";
        case Error::Transport:
            return "";
        case Error::NotAlive:
            return "the service is not alive, message dropped: ";
        case Error::MessageTooLong:
            return "the message is too long and was dropped: ";
        case Error::InstanceTaken:
            return "the instance is taken: ";
        case Error::AlreadyRegistered:
            return "already registered: ";
        case Error::NotConnected:
            return "not connected: ";
    }
    return "";
}

bool record(Error code, const ipl::string& argument, const char* source, int line) {
    ipl::ErrorOutput(source, line).report("comm::Error", static_cast<int>(code), text(code) + argument);
    return true;
}

void fatal(const char* text, const char* source, bool recorded) {
    ipl::cerr << "fatal communication error: " << text << " (" << source << ')' << ipl::endl;
    if (recorded) ipl::ErrorOutput(source, 0).report("comm::Error", static_cast<int>(Error::Transport), text);
}

}  // namespace comm::error
