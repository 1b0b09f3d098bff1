#include "Supervisor.h"

#include <sys/wait.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace bench {
namespace {

constexpr std::size_t ToldLines = 10;
constexpr double LookInterval = .005;  // seconds

std::string lastLines(const std::string& text) {
    std::size_t from = text.size();
    for (std::size_t line = 0; line <= ToldLines && from != std::string::npos && from != 0; ++line)
        from = text.rfind('\n', from - 1);
    return from == std::string::npos || from == 0 ? text : text.substr(from + 1);
}

std::size_t countOf(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) ++count;
    return count;
}

bool tellEnd(Process& process) {
    return tell(process, describe(process.wait().status) + " before the test was over");
}

}  // namespace

bool Supervisor::keepRunning(Process& process, Process& companion, Watch::Clock::time_point deadline) {
    const Watch::Event event = m_watch.waitUntil(deadline, {&process, &companion});
    if (event == Watch::Event::DeadlinePassed) return false;
    if (event == Watch::Event::Interrupted) return interrupt();
    return tellEnd(process.hasEnded() ? process : companion);
}

bool Supervisor::waitForOutput(Process& process, Process& companion, const std::string& text, std::size_t count,
                               Watch::Clock::time_point deadline) {
    while (countOf(text, process.output()) < count) {
        if (Watch::Clock::now() >= deadline) return tell(process, "does not say in time: " + text);
        if (keepRunning(process, companion, after(LookInterval))) return true;
    }
    return false;
}

bool Supervisor::waitForEnd(const Process& process, Process& companion, Watch::Clock::time_point deadline) {
    const Watch::Event event = m_watch.waitUntil(deadline, {&process, &companion});
    if (event == Watch::Event::DeadlinePassed) return tell(process, "does not end in time");
    if (event == Watch::Event::Interrupted) return interrupt();
    return !process.hasEnded() && tellEnd(companion);
}

bool Supervisor::interrupt() {
    m_interrupted = true;
    std::fputs("interrupted\n", stderr);
    return true;
}

bool tell(const Process& process, const std::string& what) {
    const std::string output = lastLines(process.output());
    std::fprintf(stderr, "%s %s; its last lines of output:\n%s%s", process.name().c_str(), what.c_str(),
                 output.empty() ? "(none)" : output.c_str(), output.ends_with('\n') ? "" : "\n");
    return true;
}

std::string describe(int status) {
    if (WIFSIGNALED(status)) return std::string("was ended by the signal ") + ::strsignal(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

bool start(Process& process, const std::vector<std::string>& command, const std::string& runtimeDirectory) {
    return process.start(command, runtimeDirectory) &&
           tell(process, std::string("could not be started: ") + std::strerror(errno));
}

Watch::Clock::time_point after(double seconds) {
    return Watch::Clock::now() +
           std::chrono::duration_cast<Watch::Clock::duration>(std::chrono::duration<double>(seconds));
}

}  // namespace bench
