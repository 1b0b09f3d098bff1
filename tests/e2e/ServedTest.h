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

    ~ServedTest() override;
    void SetUp() override;

    /// Bytes come through at the mount point.
    void expectService() const;
    /// The server does not start: it names the subject, with advice, in one line.
    static void expectRefusal(const std::vector<std::string>& arguments, const std::string& subject);
    static void expectRefusal(Program& program, const std::string& subject);
};
