#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <iterator>
#include <string>
#include <thread>

#include "EventLog.h"

/// Keeps what this process says on its standard error while this object lives, such that a test can wait for it.
class StandardError {
  public:
    StandardError() { ::dup2(::fileno(m_file), STDERR_FILENO); }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;
    ~StandardError() {
        ::dup2(m_before, STDERR_FILENO);
        ::close(m_before);
        std::fclose(m_file);
    }

    /// Waits until this text has been said; false when it is not.
    bool waitFor(const std::string& text) const {
        const auto end = std::chrono::steady_clock::now() + Watchdog;
        while (said().find(text) == std::string::npos) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    /// All that has been said.
    std::string said() const {
        std::string text;
        char piece[4096];
        for (ssize_t got; (got = ::pread(::fileno(m_file), piece, sizeof piece, std::ssize(text))) > 0;)
            text.append(piece, static_cast<std::size_t>(got));
        return text;
    }

  private:
    std::FILE* const m_file = std::tmpfile();
    const int m_before = ::dup(STDERR_FILENO);
};
