#include "Registration.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>

namespace comm::transport {
namespace {

// Different for any two machines, also where one's disk is a copy of the other's.
ipl::string machine() {
    ipl::string text;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), text);
    return text;
}

ipl::string host() {
    std::array<char, 256> name{};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "unknown host";
}

// A line of what somebody else says, fit to be shown. False if there is none.
bool nextLine(std::istream& stream, ipl::string& line) {
    std::getline(stream, line);
    line.resize(std::min<std::size_t>(line.size(), 200));
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return !line.empty();
}

}  // namespace

Registration Registration::ofThisProcess(const Identity& identity, const ipl::string& incarnation,
                                         const RuntimeDirectory& directory) {
    return {keyOf(identity) + '/' + incarnation, machine() + ' ' + directory.id(), identity.display,
            "process " + std::to_string(::getpid()) + " on " + host(), false};
}

std::optional<Registration> Registration::discovered(ipl::string name, const ipl::string& description) {
    std::istringstream stream(description);
    Registration registration;
    registration.name = std::move(name);
    const bool complete = nextLine(stream, registration.place) && nextLine(stream, registration.display) &&
                          nextLine(stream, registration.owner) && registration.name.find('/') != ipl::string::npos;
    ipl::string note;
    registration.isWithdrawn = complete && nextLine(stream, note) && note == "withdrawn";
    return complete ? std::optional(registration) : std::nullopt;
}

ipl::string Registration::keyOf(const Identity& identity) {
    return identity.fileName + '/' + identity.interfaceUuid.toString();
}

}  // namespace comm::transport
