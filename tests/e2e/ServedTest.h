#pragma once

#include "FileTest.h"
#include "TransportServer.h"

/// The base of what tests the transport server; it is skipped where there can be none. After each test nothing is left
/// mounted, whatever has happened.
class ServedTest : public FileTest {
  protected:
    using Options = std::vector<std::string>;

    /// No wait of a test on this server lasts until the idle time.
    static inline const Options Patient{"--idle-timeout", "60000"};
    static_assert(Program::Watchdog.count() < 60000);

    ~ServedTest() override {
        for (const std::string& path : TransportServer::mountPointsIn(runtimeDirectory()))
            TransportServer::unmount(path);
    }

    void SetUp() override {
        if (const std::string obstacle = TransportServer::obstacle(); !obstacle.empty()) GTEST_SKIP() << obstacle;
    }
};
