#include "Program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int Tick = 20;  // ms between two looks whether the program still runs

struct Pipe {
    Pipe() { EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0); }
    std::array<int, 2> ends{-1, -1};  // for reading and for writing
};

void closeEnd(int& fd) {
    if (fd >= 0) ::close(fd);
    fd = -1;
}

[[noreturn]] void execute(std::vector<std::string>& words) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::signal(SIGPIPE, SIG_DFL);
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
    ::_exit(127);
}

// False at the end of the stream.
bool readInto(Transcript& transcript, int fd) {
    std::array<char, 65536> piece;
    const ssize_t count = ::read(fd, piece.data(), piece.size());
    if (count > 0) transcript.append(piece.data(), static_cast<std::size_t>(count));
    return count > 0;
}

}  // namespace

Program::Program(const std::vector<std::string>& arguments, Output output, const std::string& path)
    : m_commandLine(path) {
    std::signal(SIGPIPE, SIG_IGN);  // a program that does not read any more fails its test in other ways
    for (const std::string& argument : arguments) m_commandLine += " '" + argument + "'";
    std::vector<std::string> words{path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    start(std::move(words), output);
}

Program::~Program() {
    kill();
    closeEnd(m_stdin);
    closeEnd(m_stdout);
    closeEnd(m_stderr);
}

void Program::start(std::vector<std::string> words, Output output) {
    Pipe in;
    Pipe out;
    Pipe err;
    const bool terminal = output == Output::Terminal;
    const winsize size{24, 80, 0, 0};
    m_id = terminal ? ::forkpty(&m_stdin, nullptr, nullptr, &size) : ::fork();
    if (m_id == 0) {
        ::dup2(err.ends[1], STDERR_FILENO);
        if (!terminal) ::dup2(in.ends[0], STDIN_FILENO);
        if (output == Output::Piped) ::dup2(out.ends[1], STDOUT_FILENO);
        if (output == Output::Closed) ::close(STDOUT_FILENO);
        execute(words);
    }
    if (m_id < 0) fail("it cannot be started");
    if (terminal)
        m_stdout = ::fcntl(m_stdin, F_DUPFD_CLOEXEC, 0);
    else
        m_stdin = std::exchange(in.ends[1], -1);
    if (output == Output::Piped) m_stdout = std::exchange(out.ends[0], -1);
    m_stderr = std::exchange(err.ends[0], -1);
    for (Pipe* pipe : {&in, &out, &err})
        for (int& end : pipe->ends) closeEnd(end);
}

void Program::type(const std::string& text) {
    for (std::size_t sent = 0; sent < text.size() && !m_failed;) {
        const ssize_t count = ::write(m_stdin, text.data() + sent, text.size() - sent);
        if (count < 0) return fail("it does not take '" + text + "'");
        sent += static_cast<std::size_t>(count);
    }
}

void Program::closeInput() {
    closeEnd(m_stdin);
}

void Program::closeOutput() {
    closeEnd(m_stdout);
}

void Program::letRun(Milliseconds time) {
    waitUntil([] { return false; }, time);
}

void Program::pause() {
    int status = 0;
    ::kill(m_id, SIGSTOP);
    if (::waitpid(m_id, &status, WUNTRACED) == m_id && WIFSTOPPED(status)) return;
    m_ended = true;
    m_status = status;
    fail("it cannot be stopped");
}

void Program::resume() const {
    ::kill(m_id, SIGCONT);
}

void Program::kill() {
    if (m_id > 0 && !m_ended) {
        ::kill(m_id, SIGKILL);
        ::waitpid(m_id, &m_status, 0);
        m_ended = true;
    }
    readFor(0);
    checkForReports();
}

std::string Program::waitForLine(const std::string& pattern, Milliseconds atMost) {
    std::size_t index = 0;
    if (waitUntil([&] { return m_out.take(pattern, index); }, atMost)) return m_out.lines()[index];
    fail("no line '" + pattern + "'");
    return {};
}

std::string Program::waitForError(const std::string& pattern) {
    std::size_t index = 0;
    if (waitUntil([&] { return m_err.take(pattern, index); }, Watchdog)) return m_err.lines()[index];
    fail("no error line '" + pattern + "'");
    return {};
}

std::vector<std::string> Program::waitForBlock(const std::string& pattern, std::size_t count, Milliseconds atMost) {
    std::size_t index = 0;
    if (!waitUntil([&] { return m_out.take(pattern, index); }, atMost) || index == 0 ||
        !waitUntil([&] { return m_out.lines().size() >= index - 1 + count; }, Watchdog)) {
        fail("no " + std::to_string(count) + " lines about '" + pattern + "'");
        return {};
    }
    const std::vector<std::string> lines = m_out.lines();
    const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(index) - 1;
    return {begin, begin + static_cast<std::ptrdiff_t>(count)};
}

void Program::waitForText(const std::string& text) {
    if (!waitUntil([&] { return m_out.pass(text); }, Watchdog)) fail("it does not show '" + text + "'");
}

bool Program::sees(const std::string& pattern, Milliseconds atMost) {
    std::size_t index = 0;
    return waitUntil([&] { return m_out.take(pattern, index); }, atMost);
}

int Program::waitForExit(Milliseconds atMost) {
    if (!waitUntil([this] { return hasEnded(); }, atMost)) fail("it does not end");
    readFor(0);
    checkForReports();
    return WIFSIGNALED(m_status) ? -WTERMSIG(m_status) : WEXITSTATUS(m_status);
}

bool Program::waitUntil(const std::function<bool()>& fulfilled, Milliseconds atMost) {
    const Clock::time_point deadline = Clock::now() + (m_failed ? Milliseconds(0) : atMost);
    while (!fulfilled()) {
        if (Clock::now() >= deadline) return false;
        const bool last = hasEnded();  // what comes now is all that will come
        readFor(last ? 0 : Tick);
        if (last) return fulfilled();
    }
    return true;
}

bool Program::hasEnded() {
    if (!m_ended) m_ended = ::waitpid(m_id, &m_status, WNOHANG) == m_id;
    return m_ended;
}

// Waits so long for output, and takes what there is.
void Program::readFor(int milliseconds) {
    std::array<pollfd, 2> streams{{{m_stdout, POLLIN, 0}, {m_stderr, POLLIN, 0}}};
    for (int patience = milliseconds; ::poll(streams.data(), streams.size(), patience) > 0; patience = 0) {
        if (streams[0].revents != 0 && !readInto(m_out, m_stdout)) closeEnd(m_stdout);
        if (streams[1].revents != 0 && !readInto(m_err, m_stderr)) closeEnd(m_stderr);
        streams[0].fd = m_stdout;
        streams[1].fd = m_stderr;
        if (m_stdout < 0 && m_stderr < 0) return;
    }
}

void Program::fail(const std::string& text) {
    if (!m_failed)
        ADD_FAILURE() << text << "\n"
                      << m_commandLine << (m_ended ? " has ended with " + std::to_string(m_status) : "")
                      << "\nOutput:\n"
                      << m_out.text() << "\nErrors:\n"
                      << m_err.text();
    m_failed = true;
}

void Program::checkForReports() {
    const std::string& text = m_err.text();
    if (text.find("Sanitizer") != std::string::npos || text.find("runtime error:") != std::string::npos ||
        m_err.count("==*") != 0)
        fail("a sanitizer has found something");
}
