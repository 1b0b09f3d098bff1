#include "AgentConfiguration.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>

#include "ConfigurationFile.h"
#include "comm/Error.h"
#include "osal/common/Error.h"

namespace comm {
namespace {

bool refuse(const ipl::string& text) {
    return error::record(Error::Configuration, text, __FILE__, __LINE__);
}

// Where a user's own configuration stands; empty where there is none. True on failure.
bool findUserFolder(ipl::string& folder) {
    const char* const configured = std::getenv("XDG_CONFIG_HOME");
    if (configured != nullptr && *configured != '\0') {
        folder = configured;
        return folder.front() != '/' &&
               refuse("XDG_CONFIG_HOME is '" + folder + "', which is no absolute path: mend or unset it");
    }
    const char* const home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') folder = ipl::string(home) + "/.config";
    return false;
}

// True on failure; a file that is not there is none, and leaves `found` as it is.
bool readText(const ipl::string& path, ipl::string& text, bool& found) {
    errno = 0;
    std::ifstream stream(path);
    std::getline(stream, text, '\0');
    found = stream.is_open() && !stream.bad();
    return !found && errno != ENOENT && errno != ENOTDIR &&
           refuse(path + " cannot be read: " + osal::systemText(errno));
}

}  // namespace

bool AgentConfiguration::read(const ipl::string& processName) {
    if (processName.empty()) return false;
    if (processName.find('/') != ipl::string::npos)
        return refuse("'" + processName + "' names no configuration: it must be a file's name without a folder");
    ipl::string userFolder;
    if (findUserFolder(userFolder)) return true;
    for (const ipl::string& folder : {userFolder, ipl::string("/etc")}) {
        if (folder.empty()) continue;
        ipl::string path = folder;
        path.append("/comm/").append(processName).append(".toml");
        ipl::string text;
        bool found = false;
        if (readText(path, text, found)) return true;
        if (!found) continue;
        file = path;
        return ConfigurationFile(path, *this).read(text);
    }
    return false;
}

}  // namespace comm
