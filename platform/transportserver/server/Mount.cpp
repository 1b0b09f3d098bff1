#include "Mount.h"

#include <unistd.h>

#include <cstdlib>
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

std::string Mount::ownSource() {
    return SourcePrefix + std::to_string(::getpid());
}

bool Mount::isTransportServer() const {
    return type == std::string("fuse.") + OwnSubtype && source.starts_with(SourcePrefix);
}

// A process that was killed keeps its number, in state Z, until its parent has looked at it.
pid_t Mount::server() const {
    const std::string id = source.substr(SourcePrefix.size());
    std::ifstream file("/proc/" + id + "/stat");
    std::string status;
    std::getline(file, status);
    const std::string name = std::string(" (") + OwnSubtype + ") ";
    const std::size_t found = status.find(name);
    const bool isAlive = found != std::string::npos && status.compare(found + name.size(), 1, "Z") != 0;
    return isAlive ? static_cast<pid_t>(std::atol(id.c_str())) : 0;
}

}  // namespace transport
