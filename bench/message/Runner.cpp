#include "Runner.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "Report.h"
#include "RuntimeDirectory.h"

namespace bench {
namespace {

constexpr double Grace = 20;                    // seconds that a run may take beyond its own time
constexpr std::chrono::seconds CleanUpTime{2};  // for one that has taken longer

constexpr const char* Instance = "7";

std::optional<Measurement> measured(const Process& process, int status, const Report& report, double cpuSeconds) {
    if (status != 0 || report.rate == 0 || report.messages == 0) {
        tell(process, status != 0 ? describe(status) : "gives no result");
        return std::nullopt;
    }
    return Measurement{report.rate, cpuSeconds * 1e6 / static_cast<double>(report.messages)};
}

}  // namespace

std::optional<Measurement> Runner::run(const Program& program, const Pair& pair) {
    if (program.isPeer()) return runPeer(program, pair);
    if (program.kind == Program::Kind::PlainExchange) return runPlainExchange(pair);
    return runZidbench(pair, program.kind == Program::Kind::ZidbenchDds);
}

std::optional<Measurement> Runner::runZidbench(const Pair& pair, bool overDds) {
    const RuntimeDirectory directory;
    Process service(std::string("zidbench -s ") + Instance);
    Process client("zidbench (client " + pair.text() + ")");
    if (directory.path().empty()) {
        tell(client, std::string("has no runtime directory: ") + std::strerror(errno));
        return std::nullopt;
    }
    const std::string name = overDds ? RuntimeDirectory::DdsProcessName : "local";
    if (start(service, {m_options.zidbench, "-n", name, "-s", Instance}, directory.path()) ||
        start(client, {m_options.zidbench, "-n", name}, directory.path()) || test(pair, service, client))
        return std::nullopt;

    service.kill();
    const Process::Exit exit = client.wait();
    const double cpuSeconds = exit.cpuSeconds + service.wait().cpuSeconds;
    const std::string output = client.output();
    if (exit.status == 0 && hasTimedOut(output)) {
        tell(client, "waited in vain for a reply");
        return std::nullopt;
    }
    return measured(client, exit.status, readMessageTestReport(output, pair.burst), cpuSeconds);
}

std::optional<Measurement> Runner::runPlainExchange(const Pair& pair) {
    Process process("plain_exchange " + pair.text());
    const auto exit = runToEnd(process, {m_options.plainExchange, std::to_string(pair.payload),
                                         std::to_string(pair.burst), std::to_string(m_options.seconds)});
    if (!exit) return std::nullopt;
    return measured(process, exit->status, readPlainReport(process.output()), exit->cpuSeconds);
}

std::optional<Measurement> Runner::runPeer(const Program& peer, const Pair& pair) {
    Process process(peer.name + " " + pair.text());
    const auto exit =
        runToEnd(process, {m_options.peers, "-t", peer.transport, std::to_string(m_options.seconds), pair.text()});
    if (!exit) return std::nullopt;
    const Report report = readPeerReport(process.output(), peer.transport, m_options.seconds);
    return measured(process, exit->status, report, report.cpuSeconds);
}

std::optional<Process::Exit> Runner::runToEnd(Process& process, const std::vector<std::string>& command) {
    if (start(process, command)) return std::nullopt;
    if (!m_supervisor.waitForEnd(process, process, after(m_options.seconds + Grace))) return process.wait();
    process.stop(CleanUpTime);
    return std::nullopt;
}

// Feeds the client; the end of the input ends its shell.
bool Runner::test(const Pair& pair, Process& service, Process& client) {
    const auto deadline = after(m_options.seconds + Grace);
    const std::string command = std::string("startZID ") + Instance + " " + std::to_string(pair.payload) + " 0 " +
                                std::to_string(pair.burst) + "\n";
    if (client.write(command)) return tell(client, "takes no input");
    if (m_supervisor.keepRunning(service, client, after(m_options.seconds))) return true;
    if (client.write(std::string("stopZID ") + Instance + "\n")) return tell(client, "takes no input");
    client.closeInput();
    return m_supervisor.waitForEnd(client, service, deadline);
}

}  // namespace bench
