#include "AgentConfiguration.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

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

bool refuseFile(const ipl::string& path, int error) {
    return refuse(path + " cannot be read: " + osal::systemText(error));
}

// True on failure.
bool readAll(const ipl::string& path, int file, ipl::string& text) {
    struct stat status {};
    if (::fstat(file, &status) != 0) return refuseFile(path, errno);
    if (!S_ISREG(status.st_mode))
        return refuse(path + " is no regular file: write the configuration to one, or remove this");
    char piece[4096];
    for (;;) {
        const ssize_t count = ::read(file, piece, sizeof piece);
        if (count == 0) return false;
        if (count > 0)
            text.append(piece, static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return refuseFile(path, errno);
    }
}

// True on failure; a file that is not there is none, and leaves `found` as it is. What is no regular file could keep
// the start waiting, in its opening already.
bool readText(const ipl::string& path, ipl::string& text, bool& found) {
    const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return errno != ENOENT && errno != ENOTDIR && refuseFile(path, errno);
    const bool failed = readAll(path, file, text);
    ::close(file);
    found = !failed;
    return failed;
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
