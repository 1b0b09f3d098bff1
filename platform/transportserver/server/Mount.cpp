#include "Mount.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

namespace transport {
namespace {

// The system writes blanks, number signs and the like as a backslash and three octal digits.
std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size()) {
            result += static_cast<char>(std::stoi(text.substr(i + 1, 3), nullptr, 8));
            i += 3;
        } else {
            result += text[i];
        }
    }
    return result;
}

// The namespace in which this process has its number; 0 if that is unknown.
ino_t ownNamespace() {
    struct stat status {};
    return ::stat("/proc/self/ns/pid", &status) == 0 ? status.st_ino : 0;
}

const std::string SourcePrefix = std::string(Mount::OwnSubtype) + '#';

}  // namespace

// A line is: id, parent, device, root, mount point, options, any number of fields up to a hyphen, type, source,
// options.
std::optional<Mount> Mount::at(const std::string& path) {
    std::optional<Mount> uppermost;
    std::ifstream table("/proc/self/mountinfo");
    for (std::string line; std::getline(table, line);) {
        std::istringstream fields(line);
        std::string field;
        for (int i = 0; i < 5; ++i) fields >> field;
        if (unescaped(field) != path) continue;
        while (fields >> field && field != "-") {
        }
        Mount mount;
        fields >> mount.type >> field;
        mount.source = unescaped(field);
        uppermost = mount;
    }
    return uppermost;
}

std::string Mount::ownSource(std::uint64_t place) {
    std::string source = SourcePrefix + std::to_string(::getpid());
    return source.append(".").append(std::to_string(ownNamespace())).append(".").append(std::to_string(place));
}

bool Mount::isTransportServer() const {
    return type == std::string("fuse.") + OwnSubtype && source.starts_with(SourcePrefix);
}

bool Mount::isFor(std::uint64_t place) const {
    return source.ends_with('.' + std::to_string(place));
}

pid_t Mount::server() const {
    std::istringstream fields(source.substr(SourcePrefix.size()));
    pid_t process = 0;
    char dot = 0;
    ino_t itsNamespace = 0;
    fields >> process >> dot >> itsNamespace;
    return itsNamespace != 0 && itsNamespace == ownNamespace() ? process : 0;
}

}  // namespace transport
