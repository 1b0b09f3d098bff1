#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <regex>

#include "EventLog.h"

namespace {

// Its own watchdogs bark first and say more.
constexpr int Patience = 1000 * 2 * static_cast<int>(Watchdog.count());

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> arguments, std::string errors) : m_errors(std::move(errors)) {
    int input[2]{-1, -1};
    int output[2]{-1, -1};
    if (::pipe2(input, O_CLOEXEC) != 0 || ::pipe2(output, O_CLOEXEC) != 0) return;
    m_process = ::fork();
    if (m_process == 0) run(arguments, input[0], output[1]);
    ::close(input[0]);
    ::close(output[1]);
    m_input = input[1];
    m_output = output[0];
    m_pending.push_back(arguments.front());
}

void ChildProcess::run(std::vector<std::string>& arguments, int input, int output) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::string program = "/proc/self/exe";
    std::vector<char*> words{program.data()};
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(::open(m_errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
    ::execv(words[0], words.data());
    ::_exit(127);
}

ChildProcess::~ChildProcess() {
    kill();
    ::close(m_input);
    ::close(m_output);
    ::unlink(m_errors.c_str());
}

void ChildProcess::post(const std::string& command) {
    m_pending.push_back(command);
    const std::string line = command + '\n';
    // What has died is noticed when it does not answer.
    (void)!::write(m_input, line.data(), line.size());
}

std::string ChildProcess::answer() {
    std::string line;
    for (char c = 0; c != '\n'; line += c) {
        pollfd readable{m_output, POLLIN, 0};
        if (::poll(&readable, 1, Patience) <= 0 || ::read(m_output, &c, 1) != 1) return "";
    }
    m_pending.pop_front();
    line.pop_back();
    return line;
}

void ChildProcess::stop() const {
    ::kill(m_process, SIGSTOP);
    ::waitpid(m_process, nullptr, WUNTRACED);
}

void ChildProcess::resume() const {
    ::kill(m_process, SIGCONT);
}

void ChildProcess::kill() {
    if (m_process < 0) return;
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    m_process = -1;
}

int ChildProcess::waitForEnd() {
    char byte = 0;
    pollfd readable{m_output, POLLIN, 0};
    do
        if (::poll(&readable, 1, Patience) <= 0) return Silent;
    while (::read(m_output, &byte, 1) > 0);
    int status = 0;
    ::waitpid(m_process, &status, 0);
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

bool ChildProcess::hasEnded() const {
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(m_process), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
}

std::string ChildProcess::errors() const {
    std::ifstream file(m_errors);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Those of a kind differ by the peer, and by how many were held back.
std::map<std::string, std::size_t> ChildProcess::warnings() const {
    static const std::regex differs("process [0-9]+| \\(and [0-9]+ more like it\\)");
    std::map<std::string, std::size_t> kinds;
    std::ifstream file(m_errors);
    for (std::string line; std::getline(file, line);)
        if (line.find("warning: ") != std::string::npos) ++kinds[std::regex_replace(line, differs, "")];
    return kinds;
}
