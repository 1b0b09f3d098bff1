#include "PeerProcess.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <vector>

#include "EventLog.h"

PeerProcess::PeerProcess(const std::string& arguments) {
    std::istringstream words(COMM_PEER_PROGRAM " " + arguments);
    std::vector<std::string> list;
    for (std::string word; words >> word;) list.push_back(word);
    std::vector<char*> argv;
    for (std::string& word : list) argv.push_back(word.data());
    argv.push_back(nullptr);

    int ends[2];
    if (::pipe(ends) != 0) return;
    m_process = ::fork();
    if (m_process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        ::dup2(ends[1], STDOUT_FILENO);
        ::close(ends[0]);
        ::close(ends[1]);
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    ::close(ends[1]);
    m_output = ends[0];
}

PeerProcess::~PeerProcess() {
    kill();
    ::close(m_output);
}

void PeerProcess::signal(int number) const {
    ::kill(m_process, number);
}

void PeerProcess::kill() {
    if (m_process < 0) return;
    signal(SIGKILL);
    ::waitpid(m_process, nullptr, 0);
    m_process = -1;
}

std::string PeerProcess::readLine() const {
    std::string line;
    for (char c = 0;;) {
        pollfd readable{m_output, POLLIN, 0};
        const auto wait = std::chrono::milliseconds(Watchdog).count();
        if (::poll(&readable, 1, static_cast<int>(wait)) <= 0 || ::read(m_output, &c, 1) != 1) return "";
        if (c == '\n') return line;
        line += c;
    }
}
