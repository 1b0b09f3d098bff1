#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "Program.h"
#include "Report.h"

/// The programs of each test meet in a runtime directory of their own, which is removed after the test.
class EndToEndTest : public testing::Test {
  protected:
    EndToEndTest();
    ~EndToEndTest() override;

    const std::filesystem::path& runtimeDirectory() const { return m_runtimeDirectory; }
    /// Where the programs keep their sockets and locks.
    std::filesystem::path meetingPlace() const { return m_runtimeDirectory / "zidbench"; }

    /// The agent's configuration of the programs of that name; a test without one has none.
    std::filesystem::path configuration(const std::string& processName) const {
        return m_runtimeDirectory / "comm" / (processName + ".toml");
    }
    void configure(const std::string& processName, const std::string& text) const;

    /// A message test from its start to its report, in a shell. It lasts until a burst was answered.
    static Report runTest(Program& shell, int instance, const std::string& parameters = "--delay 0");

    static void leave(Program& shell);

  private:
    std::filesystem::path m_runtimeDirectory;
};
