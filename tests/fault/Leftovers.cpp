#include "Leftovers.h"

#include <filesystem>
#include <fstream>

#include "Identity.h"
#include "RuntimeDirectory.h"
#include "TestService.h"

namespace Leftovers {

std::size_t descriptors() {
    std::size_t count = 0;
    for (const std::string& descriptor : filesIn("/proc/self/fdinfo"))
        count += 1 + linesWith("tfd:", "/proc/self/fdinfo/" + descriptor);
    return count;
}

std::size_t mappedRings() {
    return linesWith("zidbench-ring", "/proc/self/maps");
}

std::size_t linesWith(const std::string& text, const std::string& path) {
    std::size_t count = 0;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
        if (line.find(text) != std::string::npos) ++count;
    return count;
}

std::set<std::string> filesIn(const std::string& directory) {
    std::set<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator at(directory, error), end; at != end && !error; at.increment(error))
        files.insert(at->path().filename());
    return files;
}

std::set<std::string> namesOf(const std::set<std::uint32_t>& instances) {
    std::set<std::string> names{comm::transport::RuntimeDirectory::Sentinel};
    for (const std::uint32_t instance : instances) {
        const std::string name = comm::transport::Identity(TestIdentity(instance).args()).fileName;
        names.insert({name, name + ".lock"});
    }
    return names;
}

std::set<std::string> filesOf(const std::set<std::uint32_t>& instances) {
    std::set<std::string> files;
    for (const std::string& name : namesOf(instances)) files.insert({name, name + ".new"});
    return files;
}

}  // namespace Leftovers
