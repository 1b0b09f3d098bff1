#include "ProcessState.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>
#include <vector>

#include "Program.h"

namespace {

std::string contentOf(const std::filesystem::path& path) {
    std::string content;
    std::ifstream file(path);
    std::getline(file, content, '\0');
    return content;
}

std::filesystem::path folderOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

// What follows the name, which may hold anything, in a process's or thread's state: its letter, its parent, ...
std::vector<std::string> fieldsOf(const std::filesystem::path& folder) {
    const std::string content = contentOf(folder / "stat");
    const std::size_t nameEnd = content.rfind(')');
    if (nameEnd == std::string::npos) return std::vector<std::string>(50);  // it is gone
    std::istringstream fields(content.substr(nameEnd + 1));
    return {std::istream_iterator<std::string>(fields), {}};
}

unsigned long long numberBehind(const std::string& content, const std::string& label) {
    unsigned long long number = 0;
    const std::size_t found = content.find(label);
    if (found == std::string::npos) return 0;
    std::istringstream(content.substr(found + label.size())) >> number;
    return number;
}

// How often its threads have gone to sleep, and the processor's time that they took; the same text as long as nothing
// ran.
std::string activityOf(pid_t process) {
    std::string activity;
    std::error_code error;
    for (const auto& thread : std::filesystem::directory_iterator(folderOf(process) / "task", error)) {
        const std::vector<std::string> fields = fieldsOf(thread.path());
        activity += thread.path().filename().string() + ": " + fields[11] + ' ' + fields[12] + ' ' +
                    std::to_string(numberBehind(contentOf(thread.path() / "status"), "\nvoluntary_ctxt_switches:")) +
                    '\n';
    }
    return activity;
}

}  // namespace

std::size_t childrenOf(pid_t process) {
    std::size_t children = 0;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error))
        if (std::filesystem::exists(entry.path() / "stat", error) &&
            fieldsOf(entry.path())[1] == std::to_string(process))
            ++children;
    return children;
}

testing::AssertionResult comesToRest(pid_t process) {
    std::string before;
    std::string after;
    for (int attempt = 0; attempt < 5; ++attempt) {
        before = activityOf(process);
        std::this_thread::sleep_for(std::chrono::seconds(2));
        after = activityOf(process);
        if (!before.empty() && before == after) return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "thread: user time, system time, sleeps\n" << before << "became\n" << after;
}

unsigned long long figureOf(pid_t process, const std::string& name) {
    return numberBehind(contentOf(folderOf(process) / "status"), '\n' + name + ':');
}

unsigned long long processorTicksOf(pid_t process) {
    const std::vector<std::string> fields = fieldsOf(folderOf(process));
    return fields[11].empty() ? 0 : std::stoull(fields[11]) + std::stoull(fields[12]);
}

bool isSanitized(pid_t process) {
    // Their shadow memory takes more addresses than anything else.
    return figureOf(process, "VmSize") > 1ULL << 30;
}

bool eventually(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + Program::Watchdog;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(Program::Milliseconds(20));
    }
    return true;
}
