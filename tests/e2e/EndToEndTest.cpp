#include "EndToEndTest.h"

#include <cstdlib>
#include <fstream>

EndToEndTest::EndToEndTest() {
    std::string path = std::filesystem::temp_directory_path() / "zidbench-e2e-XXXXXX";
    EXPECT_NE(::mkdtemp(path.data()), nullptr);
    m_runtimeDirectory = path;
    ::setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", path.c_str(), 1);
    ::setenv("TERM", "xterm", 1);
    // What the leak sanitizer, where it is built in, may lose: a shell's services, which live as long as the process,
    // and the two texts that libedit copies for each function that is added to it.
    std::ofstream(m_runtimeDirectory / "leaks") << "leak:ZidShell::handleStartService\nleak:wcsdup\n";
    ::setenv("LSAN_OPTIONS", ("print_suppressions=0:suppressions=" + path + "/leaks").c_str(), 1);
}

void EndToEndTest::configure(const std::string& processName, const std::string& text) const {
    std::filesystem::create_directory(m_runtimeDirectory / "comm");
    std::ofstream(configuration(processName)) << text;
}

EndToEndTest::~EndToEndTest() {
    std::error_code ignored;
    std::filesystem::remove_all(m_runtimeDirectory, ignored);
}

Report EndToEndTest::runTest(Program& shell, int instance, const std::string& parameters) {
    const std::string number = std::to_string(instance);
    const std::string start = std::string("startZID ").append(number).append(" ").append(parameters);
    Report report;
    // What is too short on a busy machine is tried again and longer.
    for (int time = 100; time < 20000 && report.bursts() == 0; time *= 2) {
        shell.write(start);
        shell.waitForLine(".. connected.");
        shell.write("sleep " + std::to_string(time));
        shell.write("stopZID " + number);
        report = Report::readFrom(shell, "ZID stats(inst=" + number + ", *");
    }
    EXPECT_GT(report.bursts(), 0U);
    return report;
}

void EndToEndTest::leave(Program& shell) {
    shell.write("exit");
    EXPECT_EQ(shell.waitForExit(), 0);
    EXPECT_EQ(shell.output().count("ZIDShell exited"), 1U);
}
