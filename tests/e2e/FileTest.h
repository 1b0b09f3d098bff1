#pragma once

#include <filesystem>
#include <string>

#include "EndToEndTest.h"
#include "Rate.h"

/// The base of what tests the transfer of files: the ends of the channels lie under a mount point of the test's own.
class FileTest : public EndToEndTest {
  protected:
    static constexpr const char* Success = "success - start sending...";
    static constexpr const char* NoFile = "unable to open communication file retrying..";
    static constexpr const char* WriteError = "write returned error - trying to reestablish communication";
    static constexpr const char* ReadError = "read returned error - trying to reestablish communication";
    static constexpr const char* ReadEnd = "read returned 0 - eof - reestablish communication";
    static constexpr const char* AllSent = "finished - all specified bytes sent";

    std::filesystem::path mountPoint() const { return runtimeDirectory() / "mount"; }
    std::filesystem::path writingEnd(const std::string& name = "zidfile") const {
        return mountPoint() / "connect" / name;
    }
    std::filesystem::path readingEnd(const std::string& name = "zidfile") const {
        return mountPoint() / "spawn" / name;
    }

    /// A shell that looks for the ends there.
    Program startShell() const { return Program({"--mountpoint", mountPoint()}); }
    /// Leaves a shell when its transfers have ended.
    static void leave(Program& shell);
    /// Leaves one whose last transfer was a receiver that had something to receive for a while.
    static Rate leaveReceiver(Program& shell);

    /// What a sender writes.
    static std::string chunk(std::size_t payload);
};
