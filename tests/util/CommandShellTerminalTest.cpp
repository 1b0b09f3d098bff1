#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Screen.h"
#include "ShellTestService.h"
#include "ipl/iostream.h"
#include "osal/common/osal.h"

namespace {

constexpr const char* Prompt = "zidbench> ";
constexpr int LeftStatus = 7;

// A thread in the background: prints what comes, in the way that its first character says, or ends the process.
void printWhatComes(int socket) {
    char line[256];
    for (ssize_t size = 0; (size = ::read(socket, line, sizeof line)) > 0;) {
        (void)__atomic_load_n(&stdout, __ATOMIC_ACQUIRE);  // as if the thread had been started after the shell
        const ipl::string text(line + 1, static_cast<std::size_t>(size) - 1);
        if (line[0] == 'p') std::printf("%s", text.c_str());
        if (line[0] == 'p') (void)std::fflush(stdout);
        if (line[0] == 'o') ipl::cout << text << std::flush;
        if (line[0] == 'e') ipl::cerr << text << std::flush;
        if (line[0] == 'k') std::printf("%s", text.c_str());
        if (line[0] == 'k') (void)std::raise(SIGKILL);
        if (line[0] == 'x') osal::Osal::endProcess(LeftStatus);
    }
}

[[noreturn]] void runShell(int background) {
    std::thread(printWhatComes, background).detach();
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
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, m_background.data()), 0);
        const winsize size{Rows, Columns, 0, 0};
        m_child = ::forkpty(&m_terminal, nullptr, nullptr, &size);
        if (m_child == 0) runShell(m_background[0]);
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
        for (const int fd : {m_otherEnd, m_terminal, m_background[0], m_background[1]}) ::close(fd);
    }

    void type(const ipl::string& keys) const {
        EXPECT_EQ(::write(m_terminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }

    // Has the shell's background print this: p by printf, o and e through the platform's streams, k before it is
    // killed; x ends the process.
    void print(const ipl::string& wayAndText) const {
        EXPECT_EQ(::write(m_background[1], wayAndText.data(), wayAndText.size()),
                  static_cast<ssize_t>(wayAndText.size()));
    }

    // Reads on until this has been shown, and forgets everything up to it.
    void expect(const ipl::string& text) {
        while (!HasFatalFailure() && m_shown.find(text) == ipl::string::npos)
            ASSERT_TRUE(readOn()) << "waiting for '" << text << "'";
        m_shown.erase(0, m_shown.find(text) + text.size());
    }

    // Reads on until the screen's last rows are these, with the cursor, shown as |, in its place.
    void expectScreen(const std::vector<std::string>& rows) {
        while (!HasFatalFailure() && m_screen.last(rows.size()) != rows)
            ASSERT_TRUE(readOn()) << "waiting for\n" << Screen::joined(rows) << "on\n" << m_screen.text();
    }

    // False if nothing comes any more.
    bool readOn() {
        pollfd readable{m_terminal, POLLIN, 0};
        char piece[512];
        const ssize_t count = ::poll(&readable, 1, 30000) == 1 ? ::read(m_terminal, piece, sizeof piece) : 0;
        if (count <= 0) return false;
        m_shown.append(piece, static_cast<std::size_t>(count));
        m_screen.write({piece, static_cast<std::size_t>(count)});
        return true;
    }

    void resize(unsigned short columns) {
        const winsize size{Rows, columns, 0, 0};
        EXPECT_EQ(::ioctl(m_terminal, TIOCSWINSZ, &size), 0);
        m_screen.resize(columns);
    }

    void signal(int number) const { EXPECT_EQ(::kill(m_child, number), 0); }

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

    static constexpr unsigned short Rows = 24;
    static constexpr unsigned short Columns = 80;

  private:
    std::array<int, 2> m_background{-1, -1};
    int m_terminal = -1;
    int m_otherEnd = -1;
    pid_t m_child = -1;
    int m_error = 0;
    ipl::string m_shown;
    Screen m_screen{Columns};
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

constexpr const char* Left = "\x1b[D";

TEST_F(CommandShellTerminalTest, WhatTheBackgroundPrintsComesAboveTheLine) {
    expect(Prompt);
    type(ipl::string("eco 5 8") + Left + Left + Left + Left + Left);
    expectScreen({"zidbench> ec|o 5 8"});
    print("oby a stream\n");
    expectScreen({"by a stream", "zidbench> ec|o 5 8"});
    print("eas an error\nof two lines\n");
    expectScreen({"as an error", "of two lines", "zidbench> ec|o 5 8"});
    print("pby printf\n");
    expectScreen({"by a stream", "as an error", "of two lines", "by printf", "zidbench> ec|o 5 8"});
    type("h");
    expectScreen({"by printf", "zidbench> ech|o 5 8"});
    type("\r");
    expectScreen({"zidbench> echo 5 8", "echo 5 8", "zidbench> |"});
}

TEST_F(CommandShellTerminalTest, LineOfManyRowsIsTakenAwayAndShownAgainWhole) {
    resize(20);
    expect(Prompt);
    type("echo 7 # 89012345678901234567890");
    expectScreen({"zidbench> echo 7 # 8", "90123456789012345678", "90|"});
    print("oone\n");
    expectScreen({"one", "zidbench> echo 7 # 8", "90123456789012345678", "90|"});
    type("\x08\x08");
    expectScreen({"one", "zidbench> echo 7 # 8", "90123456789012345678", "|"});
    print("otwo\n");
    expectScreen({"one", "two", "zidbench> echo 7 # 8", "90123456789012345678", "|"});
    type(ipl::string("\x01") + "\x1b[C");
    expectScreen({"two", "zidbench> e|cho 7 # 8", "90123456789012345678", ""});
    print("pthree that is longer than a row\n");
    expectScreen({"three that is longer", " than a row", "zidbench> e|cho 7 # 8", "90123456789012345678", ""});
    type("\r");
    expectScreen({"zidbench> echo 7 # 8", "90123456789012345678", "", "echo 7 100", "zidbench> |"});
}

TEST_F(CommandShellTerminalTest, UnfinishedOutputWaitsForItsEndOrForTheLinesEnd) {
    expect(Prompt);
    type("echo 5");
    expectScreen({"zidbench> echo 5|"});
    print("phalf");
    print("eanother\n");
    expectScreen({"another", "zidbench> echo 5|"});
    print("p done\nand");
    print("elast\n");
    expectScreen({"another", "half done", "last", "zidbench> echo 5|"});
    type("\r");
    expectScreen({"zidbench> echo 5", "andecho 5 100", "zidbench> |"});
}

TEST_F(CommandShellTerminalTest, LineSurvivesStopsAndNewSizes) {
    expect(Prompt);
    type(ipl::string("echo 5 8") + Left + Left);
    expectScreen({"zidbench> echo 5| 8"});
    for (const auto columns : std::array<unsigned short, 3>{70, 60, 20}) {
        resize(columns);
        expect(Prompt);
        expectScreen({"zidbench> echo 5| 8"});
    }
    signal(SIGTSTP);  // nobody could continue it, so it isn't stopped
    expect(Prompt);
    EXPECT_FALSE(isAsBefore());
    signal(SIGSTOP);
    signal(SIGCONT);
    expect(Prompt);
    print("oone\n");
    expectScreen({"one", "zidbench> echo 5| 8"});
    type("\x05 # 901234567");
    expectScreen({"one", "zidbench> echo 5 8 #", " 901234567|"});
    type("\r");
    expectScreen({" 901234567", "echo 5 8", "zidbench> |"});
}

TEST_F(CommandShellTerminalTest, NothingPrintedIsLostWithAKilledProcess) {
    expect(Prompt);
    type("ec");
    expectScreen({"zidbench> ec|"});
    print("klast words\n");
    expect("last words");
    EXPECT_EQ(WTERMSIG(waitForEnd()), SIGKILL);
}

TEST_F(CommandShellTerminalTest, EndInTheBackgroundRestoresTheTerminal) {
    expect(Prompt);
    EXPECT_FALSE(isAsBefore());
    print("x");
    EXPECT_EQ(WEXITSTATUS(waitForEnd()), LeftStatus);
    EXPECT_TRUE(isAsBefore());
}

}  // namespace
