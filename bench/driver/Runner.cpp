#include "Runner.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Report.h"
#include "RuntimeDirectory.h"

namespace bench {
namespace {

constexpr double Grace = 20;  // seconds that a run may take beyond its own time
constexpr std::size_t ToldLines = 10;

constexpr const char* Instance = "7";
constexpr std::string_view Timeout = "timeout for waiting for response received";

std::string lastLines(const std::string& text) {
    std::size_t from = text.size();
    for (std::size_t line = 0; line <= ToldLines && from != std::string::npos && from != 0; ++line)
        from = text.rfind('\n', from - 1);
    return from == std::string::npos || from == 0 ? text : text.substr(from + 1);
}

std::string describe(int status) {
    if (WIFSIGNALED(status)) return std::string("was ended by the signal ") + ::strsignal(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

// Returns true, as every failure does.
bool tell(const Process& process, const std::string& what) {
    const std::string output = lastLines(process.output());
    std::fprintf(stderr, "%s %s; its last lines of output:\n%s%s", process.name().c_str(), what.c_str(),
                 output.empty() ? "(none)" : output.c_str(), output.ends_with('\n') ? "" : "\n");
    return true;
}

bool tellEnd(Process& process) {
    return tell(process, describe(process.wait().status) + " before the test was over");
}

bool start(Process& process, const std::vector<std::string>& command, const std::string& runtimeDirectory) {
    return process.start(command, runtimeDirectory) &&
           tell(process, std::string("could not be started: ") + std::strerror(errno));
}

Watch::Clock::time_point after(double seconds) {
    return Watch::Clock::now() +
           std::chrono::duration_cast<Watch::Clock::duration>(std::chrono::duration<double>(seconds));
}

std::optional<Measurement> measured(const Process& process, int status, const Report& report, double cpuSeconds) {
    if (status != 0 || report.rate == 0 || report.messages == 0) {
        tell(process, status != 0 ? describe(status) : "gives no result");
        return std::nullopt;
    }
    return Measurement{report.rate, cpuSeconds * 1e6 / static_cast<double>(report.messages)};
}

}  // namespace

std::optional<Measurement> Runner::runZidbench(const Pair& pair) {
    const RuntimeDirectory directory;
    Process service(std::string("zidbench -s ") + Instance);
    Process client("zidbench (client " + pair.text() + ")");
    if (directory.path().empty()) {
        tell(client, std::string("has no runtime directory: ") + std::strerror(errno));
        return std::nullopt;
    }
    if (start(service, {m_options.zidbench, "-s", Instance}, directory.path()) ||
        start(client, {m_options.zidbench}, directory.path()) || test(pair, service, client))
        return std::nullopt;

    service.kill();
    const Process::Exit exit = client.wait();
    const double cpuSeconds = exit.cpuSeconds + service.wait().cpuSeconds;
    const std::string output = client.output();
    if (exit.status == 0 && output.find(Timeout) != std::string::npos) {
        tell(client, "waited in vain for a reply");
        return std::nullopt;
    }
    return measured(client, exit.status, readMessageTestReport(output, pair.burst), cpuSeconds);
}

std::optional<Measurement> Runner::runPlainExchange(const Pair& pair) {
    Process process("plain_exchange " + pair.text());
    const auto deadline = after(m_options.seconds + Grace);
    const std::vector<std::string> command{m_options.plainExchange, std::to_string(pair.payload),
                                           std::to_string(pair.burst), std::to_string(m_options.seconds)};
    if (start(process, command, {}) || waitForEnd(process, nullptr, deadline)) return std::nullopt;
    const Process::Exit exit = process.wait();
    return measured(process, exit.status, readPlainReport(process.output()), exit.cpuSeconds);
}

// Feeds the client; the end of the input ends its shell.
bool Runner::test(const Pair& pair, Process& service, Process& client) {
    const auto deadline = after(m_options.seconds + Grace);
    const std::string command = std::string("startZID ") + Instance + " " + std::to_string(pair.payload) + " 0 " +
                                std::to_string(pair.burst) + "\n";
    if (client.write(command)) return tell(client, "takes no input");
    if (keepRunning(service, client, after(m_options.seconds))) return true;
    if (client.write(std::string("stopZID ") + Instance + "\n")) return tell(client, "takes no input");
    client.closeInput();
    return waitForEnd(client, &service, deadline);
}

// Returns true when one of them ends before the deadline.
bool Runner::keepRunning(Process& service, Process& client, Watch::Clock::time_point deadline) {
    const Watch::Event event = m_watch.waitUntil(deadline, {&service, &client});
    if (event == Watch::Event::DeadlinePassed) return false;
    if (event == Watch::Event::Interrupted) return interrupt();
    return tellEnd(service.hasEnded() ? service : client);
}

// The companion, if there is one, must not end before.
bool Runner::waitForEnd(const Process& process, Process* companion, Watch::Clock::time_point deadline) {
    const Watch::Event event = m_watch.waitUntil(deadline, {&process, companion == nullptr ? &process : companion});
    if (event == Watch::Event::DeadlinePassed) return tell(process, "does not end in time");
    if (event == Watch::Event::Interrupted) return interrupt();
    return !process.hasEnded() && tellEnd(*companion);
}

bool Runner::interrupt() {
    m_interrupted = true;
    std::fputs("interrupted\n", stderr);
    return true;
}

}  // namespace bench
