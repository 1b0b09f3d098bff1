#include "Load.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <limits>

#include "Report.h"

namespace bench {
namespace {

constexpr double StepTime = 120;  // seconds, at most, for all clients to connect or to stop

// The memory of a process, with its share of what others have mapped too; 0 when it cannot be read.
double readPssKiB(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/smaps_rollup");
    for (std::string word; file >> word; file.ignore(std::numeric_limits<std::streamsize>::max(), '\n')) {
        double kib = 0;
        if (word == "Pss:" && file >> kib) return kib;
    }
    return 0;
}

}  // namespace

bool Load::start(std::uint32_t count, std::uint32_t delay) {
    m_count = count;
    if (m_directory.path().empty())
        return tell(m_services, std::string("has no runtime directory: ") + std::strerror(errno));
    return startShell(m_services) || startShell(m_clients) || measureBoth(m_shellsKiB) || startTests(delay);
}

bool Load::startShell(Process& shell) {
    return bench::start(shell, {m_options.zidbench}, m_directory.path()) ||
           m_supervisor.waitForOutput(shell, shell, "ZIDShell started", 1, after(StepTime));
}

bool Load::startTests(std::uint32_t delay) {
    const auto deadline = after(StepTime);
    if (feed(m_services, "startService ") ||
        m_supervisor.waitForOutput(m_services, m_clients, "\nstarting service with instance ", m_count, deadline))
        return true;
    m_begin = Watch::Clock::now();
    std::string form = " ";
    form.append(std::to_string(m_options.pair.payload)).append(" ").append(std::to_string(delay)).append(" ");
    form.append(std::to_string(m_options.pair.burst));
    return feed(m_clients, "startZID ", form) ||
           m_supervisor.waitForOutput(m_clients, m_services, ".. connected.", m_count, deadline);
}

bool Load::feed(const Process& shell, const std::string& command, const std::string& end) const {
    std::string lines;
    for (std::uint32_t instance = 1; instance <= m_count; ++instance)
        lines.append(command).append(std::to_string(instance)).append(end).append("\n");
    return shell.write(lines) && tell(shell, "takes no input");
}

bool Load::keepRunning(double seconds) {
    return m_supervisor.keepRunning(m_services, m_clients, after(seconds));
}

bool Load::measureMemory(double& perPair) {
    double kib = 0;
    if (measureBoth(kib)) return true;
    perPair = (kib - m_shellsKiB) / m_count;
    return false;
}

bool Load::measureBoth(double& kib) {
    for (const Process* const shell : {&m_services, &m_clients}) {
        const double part = readPssKiB(shell->id());
        if (part == 0) return tell(*shell, "does not show its memory");
        kib += part;
    }
    return false;
}

std::optional<Load::Total> Load::stop() {
    if (feed(m_clients, "stopZID ")) return std::nullopt;
    m_clients.closeInput();
    if (m_supervisor.waitForEnd(m_clients, m_services, after(StepTime))) return std::nullopt;
    const std::chrono::duration<double> time = Watch::Clock::now() - m_begin;
    m_services.kill();
    const Process::Exit exit = m_clients.wait();
    const std::string output = m_clients.output();
    const std::uint64_t messages = countAnswered(output, m_options.pair.burst);
    if (exit.status != 0 || hasTimedOut(output) || messages == 0) {
        tell(m_clients, exit.status != 0 ? describe(exit.status) : "has waited in vain for a reply");
        return std::nullopt;
    }
    return Total{messages, time.count(), exit.cpuSeconds + m_services.wait().cpuSeconds};
}

}  // namespace bench
