#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

/// The script that a time-out starts has the same place for all tests of the machine, so those who may start it take
/// turns.
class ScriptTurn {
  public:
    ScriptTurn() : m_folder(::open("/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        EXPECT_EQ(::flock(m_folder, LOCK_EX), 0);
    }
    ScriptTurn(const ScriptTurn&) = delete;
    ScriptTurn& operator=(const ScriptTurn&) = delete;
    ~ScriptTurn() { ::close(m_folder); }

  private:
    int m_folder;
};
