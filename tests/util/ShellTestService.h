#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "ipl/string.h"
#include "ipl/vector.h"
#include "util/CommandParameterInteger.h"
#include "util/CommandShell.h"

/// Offers commands whose effect can be followed: `echo FIRST SECOND`, `hold NUMBER`, which lasts until `release`, and
/// `dismiss WAIT`, which unregisters `hold`. What happens is recorded and shown through the shell.
class ShellTestService final : public util::CommandShellService {
  public:
    using Records = ipl::vector<ipl::string>;

    void onShellEvent(int event, unsigned short commandId) override {
        if (event == Started) start();
        if (event == Ended) record("Ended");
        if (event != Command) return;
        if (commandId == m_echo) record("echo " + text(m_first) + " " + text(m_second));
        if (commandId == m_hold) hold();
        if (commandId == m_release) release();
        if (commandId == m_dismiss) dismiss(m_wait != 0);
    }

    /// Lets `hold` end, which has begun when this returns.
    void release() {
        awaitHolding();
        const std::scoped_lock lock(m_mutex);
        m_released = true;
        m_changed.notify_all();
    }

    Records records() const {
        const std::scoped_lock lock(m_mutex);
        return m_records;
    }

    bool isRegistered() const { return m_shell != nullptr; }
    unsigned short echoId() const { return m_echo; }
    unsigned short holdId() const { return m_hold; }

  private:
    static ipl::string text(int value) { return std::to_string(value); }

    void start() {
        using Integer = util::CommandParameterInteger;
        record("Started");
        m_first.setProperties("first", "a small number", 1, 99, 2, Integer::Decimal);
        m_second.setProperties("second", "a number", 0, 10000, 100, Integer::Decimal);
        m_number.setProperties("number", "which one", 1, 99, 1, Integer::Decimal);
        m_wait.setProperties("wait", "for its end", 0, 1, 0, Integer::Decimal);
        (void)m_shell->registerCommand(this, "echo", "records two numbers", m_echo, {&m_first, &m_second}, true);
        (void)m_shell->registerCommand(this, "hold", "lasts until release", m_hold, {&m_number}, true);
        (void)m_shell->registerCommand(this, "release", "lets hold end", m_release, {}, true);
        (void)m_shell->registerCommand(this, "dismiss", "unregisters hold", m_dismiss, {&m_wait}, true);
    }

    void hold() {
        record("hold " + text(m_number) + " begins");
        std::unique_lock lock(m_mutex);
        m_holding = true;
        m_changed.notify_all();
        const bool released = m_changed.wait_for(lock, Watchdog, [this] { return m_released; });
        lock.unlock();
        // What does not wait for this end, though it ought to, is now ahead of it.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        record("hold " + text(m_number) + (released ? " ends" : " was never released"));
    }

    void awaitHolding() {
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, Watchdog, [this] { return m_holding; });
    }

    void dismiss(bool waitForEnd) {
        if (waitForEnd) release();
        awaitHolding();
        (void)m_shell->unregisterCommand(this, m_hold, waitForEnd);
        record("hold is dismissed");
    }

    void record(const ipl::string& what) {
        m_shell->printMessage(this, what, false, true, 0);
        const std::scoped_lock lock(m_mutex);
        m_records.push_back(what);
    }

    static constexpr std::chrono::seconds Watchdog{30};

    unsigned short m_echo = 0;
    unsigned short m_hold = 0;
    unsigned short m_release = 0;
    unsigned short m_dismiss = 0;
    util::CommandParameterInteger m_first;
    util::CommandParameterInteger m_second;
    util::CommandParameterInteger m_number;
    util::CommandParameterInteger m_wait;

    // Guards all below.
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    Records m_records;
    bool m_holding = false;
    bool m_released = false;
};
