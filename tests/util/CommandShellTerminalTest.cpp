#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "ShellTestService.h"

namespace {

constexpr const char* Prompt = "zidbench> ";
constexpr int LeftStatus = 7;

[[noreturn]] void runShell() {
    std::signal(SIGINT, SIG_DFL);
    ::setenv("TERM", "xterm", 1);
    ShellTestService service;
    util::CommandShell shell;
    if (shell.registerService(&service, "TestShell", "", true)) ::_exit(1);
    shell.startParser();
    ::_exit(LeftStatus);
}

/// A shell in a process of its own on a terminal of its own.
class CommandShellTerminalTest : public testing::Test {
  protected:
    CommandShellTerminalTest() {
        const winsize size{24, 80, 0, 0};
        m_child = ::forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_child == 0) runShell();
        m_error = errno;
        // As long as it is open here, the terminal's state can be asked for after the shell has ended.
        m_otherEnd = ::open(::ptsname(m_terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }

    void SetUp() override { ASSERT_GT(m_child, 0) << "no terminal: " << std::strerror(m_error); }

    ~CommandShellTerminalTest() override {
        if (m_child > 0) {
            ::kill(m_child, SIGKILL);
            ::waitpid(m_child, nullptr, 0);
        }
        ::close(m_otherEnd);
        ::close(m_terminal);
    }

    void type(const ipl::string& keys) const {
        EXPECT_EQ(::write(m_terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Reads on until this has been shown, and forgets everything up to it.
    void expect(const ipl::string& text) {
        while (m_shown.find(text) == ipl::string::npos) {
            pollfd readable{m_terminal, POLLIN, 0};
            char piece[512];
            const ssize_t count = ::poll(&readable, 1, 30000) == 1 ? ::read(m_terminal, piece, sizeof piece) : 0;
            ASSERT_GT(count, 0) << "waiting for '" << text << "' after '" << m_shown << "'";
            m_shown.append(piece, static_cast<std::size_t>(count));
        }
        m_shown.erase(0, m_shown.find(text) + text.size());
    }

    int waitForEnd() {
        int status = -1;
        for (int i = 0; i < 3000 && m_child > 0; ++i) {
            if (::waitpid(m_child, &status, WNOHANG) == m_child) m_child = 0;
            std::this_thread::sleep_for(std::chrono::milliseconds(m_child > 0 ? 10 : 0));
        }
        EXPECT_EQ(m_child, 0) << "it does not end";
        return status;
    }

    bool isAsBefore() const {
        termios state{};
        EXPECT_EQ(::tcgetattr(m_otherEnd, &state), 0);
        const tcflag_t wanted = ICANON | ECHO | ISIG;
        return (state.c_lflag & wanted) == wanted;
    }

  private:
    int m_terminal = -1;
    int m_otherEnd = -1;
    pid_t m_child = -1;
    int m_error = 0;
    ipl::string m_shown;
};

TEST_F(CommandShellTerminalTest, TabulatorCompletesAndTheHistoryRepeats) {
    expect(Prompt);
    EXPECT_FALSE(isAsBefore());
    type("ec\t7 --se\t8\r");
    expect("\necho 7 8");
    expect(Prompt);
    type("\x1b[A\r");
    expect("\necho 7 8");
    expect(Prompt);
    type("exit\r");
    EXPECT_EQ(WEXITSTATUS(waitForEnd()), LeftStatus);
    EXPECT_TRUE(isAsBefore());
}

TEST_F(CommandShellTerminalTest, TabulatorListsWhatIsPossible) {
    expect(Prompt);
    type("h\t");
    expect("help  hold");
    type("el\t\r");
    expect("COMMAND [VALUE ...]");
}

TEST_F(CommandShellTerminalTest, CommandThatLastsMovesToTheBackground) {
    expect(Prompt);
    type("hold 5\r");
    expect("hold runs on in the background");
    expect(Prompt);
    type("hold 6\r");
    expect("hold waits in the background");
    expect(Prompt);
    type("release\r");
    expect("hold 5 ends");
    expect("hold 6 ends");
    type("\r");
    expect(Prompt);
}

TEST_F(CommandShellTerminalTest, EndOfInputActsLikeExit) {
    expect(Prompt);
    type("hold 5 &\recho\r");
    expect("\necho 2 100");
    expect(Prompt);
    type("\x04");
    expect("still running:");
    expect("hold 5");
    expect(Prompt);
    type("release\rwait\recho\r");
    expect("hold 5 ends");
    expect("\necho 2 100");
    expect(Prompt);
    type("\x04");
    EXPECT_EQ(WEXITSTATUS(waitForEnd()), LeftStatus);
    EXPECT_TRUE(isAsBefore());
}

TEST_F(CommandShellTerminalTest, InterruptEndsTheProcessAndRestoresTheTerminal) {
    expect(Prompt);
    type("ech\x03");
    const int status = waitForEnd();
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGINT);
    EXPECT_TRUE(isAsBefore());
}

}  // namespace
