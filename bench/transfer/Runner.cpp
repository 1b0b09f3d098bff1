#include "Runner.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

namespace bench {
namespace {

constexpr double RunTime = 60;  // seconds, at most
constexpr double MiB = 1U << 20;
constexpr std::uint64_t CommandCount = 9999;

/// A program with its arguments, and what its standard input gives it.
struct Job {
    std::vector<std::string> command;
    std::string input;
};

Job dd(const std::string& from, const std::string& to, const Load& load) {
    const std::string block = std::to_string(load.block);
    return {{"dd", "if=" + from, "of=" + to, "bs=" + block, "count=" + std::to_string(load.count), "iflag=fullblock"},
            {}};
}

// The command as often as it takes, since a command takes but so many blocks.
Job shell(const std::string& mountPoint, const std::string& command, const Load& load) {
    Job job{{ZIDBENCH_PROGRAM, "--mountpoint", mountPoint}, {}};
    for (std::uint64_t left = load.count; left > 0; left -= std::min(left, CommandCount))
        job.input.append(command).append(" ").append(std::to_string(std::min(left, CommandCount))).append("\n");
    return job;
}

Job writer(Way way, const std::string& mountPoint, const Load& load) {
    if (way == Way::ZidbenchTransport) return shell(mountPoint, "sendFile " + std::to_string(load.block) + " 0", load);
    return dd("/dev/zero", mountPoint + (way == Way::DdNullFile ? "/null" : "/connect/bench"), load);
}

Job reader(Way way, const std::string& mountPoint, const Load& load) {
    if (way == Way::ZidbenchTransport) return shell(mountPoint, "receiveFile " + std::to_string(load.block), load);
    return dd(mountPoint + (way == Way::DdNullFile ? "/null" : "/spawn/bench"), "/dev/null", load);
}

bool startJob(Process& process, const Job& job) {
    if (start(process, job.command)) return true;
    if (process.write(job.input)) return tell(process, "takes no input");
    process.closeInput();
    return false;
}

// What dd and each command of zidbench say at their end.
bool check(const Process& reader, const Load& load) {
    const std::regex report("\n(?:transferred )?([0-9]+) bytes");
    const std::string output = reader.output();
    std::uint64_t bytes = 0;
    for (std::sregex_iterator each(output.begin(), output.end(), report), end; each != end; ++each)
        bytes += std::strtoull((*each)[1].str().c_str(), nullptr, 10);
    return bytes != load.block * load.count && tell(reader, "has read " + std::to_string(bytes) + " bytes");
}

}  // namespace

std::optional<Measurement> Runner::run(Way way, const Load& load) {
    Mount mount(way == Way::DdNullFile ? NULL_FILE_SYSTEM_PROGRAM : TRANSPORTSERVER_PROGRAM);
    if (mount.mount(m_supervisor)) return std::nullopt;
    double cpuSeconds = 0;
    const auto begin = Watch::Clock::now();
    if (transfer(way, load, mount, cpuSeconds)) return std::nullopt;
    const std::chrono::duration<double> time = Watch::Clock::now() - begin;
    const Process::Exit server = mount.unmount();
    if (server.status != 0) {
        tell(mount.server(), describe(server.status));
        return std::nullopt;
    }
    return Measurement{load.bytes() / time.count(), (cpuSeconds + server.cpuSeconds) * 1e6 / load.bytes() * MiB};
}

bool Runner::transfer(Way way, const Load& load, Mount& mount, double& cpuSeconds) {
    Process reading("the reader");
    Process writing("the writer");
    return startJob(reading, reader(way, mount.path(), load)) || startJob(writing, writer(way, mount.path(), load)) ||
           waitForEnd(reading, mount, cpuSeconds) || waitForEnd(writing, mount, cpuSeconds) || check(reading, load);
}

bool Runner::waitForEnd(Process& process, Mount& mount, double& cpuSeconds) {
    if (m_supervisor.waitForEnd(process, mount.server(), after(RunTime))) return true;
    const Process::Exit exit = process.wait();
    cpuSeconds += exit.cpuSeconds;
    return exit.status != 0 && tell(process, describe(exit.status));
}

}  // namespace bench
