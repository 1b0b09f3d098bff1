#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <optional>
#include <sstream>
#include <thread>

#include "Sanitized.h"
#include "TemporaryDirectory.h"
#include "ipl/ErrorStorage.h"
#include "osal/common/Condition.h"
#include "osal/common/Mutex.h"
#include "osal/common/ProcessTNG.h"
#include "osal/common/StopWatch.h"
#include "osal/common/Thread.h"
#include "osal/common/Time.h"
#include "osal/common/osal.h"

namespace {

constexpr auto Milliseconds = osal::StopWatchBase::Milliseconds;

class ManualWatch final : public osal::StopWatchBase {
  public:
    std::int64_t time = 0;

  protected:
    std::int64_t now() const override { return time; }
};

TEST(StopWatch, AddsUpItsStretchesAndRoundsDown) {
    ManualWatch watch;
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(watch.getElapsedTime(Milliseconds), 0U);
    watch.start();
    watch.time += 2'999'999;
    watch.start();  // runs already
    EXPECT_EQ(watch.peekRuntime(Milliseconds), 2U);
    watch.stop();
    watch.time += 50'000'000;
    EXPECT_EQ(watch.peekRuntime(Milliseconds), 0U);
    EXPECT_EQ(watch.getElapsedTime(Milliseconds), 2U);
    watch.start();
    watch.time += 1;
    EXPECT_EQ(watch.peekRuntime(Milliseconds), 0U);
    EXPECT_EQ(watch.getElapsedTime(Milliseconds), 3U);
    EXPECT_EQ(watch.getElapsedTime(osal::StopWatchBase::Microseconds), 3000U);
    watch.reset();
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(watch.getElapsedTime(Milliseconds), 0U);
}

TEST(Time, ATimedWaitFollowsTheClockOfGetTime) {
    osal::Mutex mutex;
    osal::Condition condition;
    ASSERT_FALSE(osal::MutexOps::init(mutex, false, false, false));
    ASSERT_FALSE(osal::ConditionOps::init(condition, false));
    long long start = 0;
    ASSERT_FALSE(osal::Time::getTime(start));
    const timespec until{static_cast<time_t>((start + 30) / 1000), static_cast<long>((start + 30) % 1000 * 1'000'000)};
    {
        const osal::MutexGuard guard(mutex);
        int error = 0;
        while (error == 0) error = pthread_cond_timedwait(&condition, &mutex, &until);
        EXPECT_GT(osal::ConditionOps::handleWaitError(error), 0);
    }
    long long end = 0;
    ASSERT_FALSE(osal::Time::getTime(end));
    EXPECT_GE(end - start, 30);
    EXPECT_LT(end - start, 10000) << "the two clocks differ";
    osal::Time::sleep(20);
    long long woken = 0;
    ASSERT_FALSE(osal::Time::getTime(woken));
    EXPECT_GE(woken - end, 20);
    EXPECT_LT(osal::ConditionOps::handleWaitError(EINVAL), 0);
    EXPECT_TRUE(ipl::ErrorStorage::isError(true));
    ipl::ErrorStorage::ack();
    ASSERT_FALSE(osal::ConditionOps::destroy(condition));
    ASSERT_FALSE(osal::MutexOps::destroy(mutex));
}

TEST(Osal, IsInitialisedWhileSomebodyHoldsIt) {
    {
        const osal::Osal first(true, false);
        { const osal::Osal second(true, false); }
        EXPECT_TRUE(osal::Osal::s_initialized);
        EXPECT_EQ(osal::Osal::s_init_count, 1);
    }
    EXPECT_FALSE(osal::Osal::s_initialized);
    EXPECT_EQ(osal::Osal::s_init_count, 0);
}

const void* volatile allocated;  // where the compiler does not see that it is not used

[[noreturn]] void useUpMemory() {
    const osal::Osal osal(true, false);
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_AS, &none);
    for (std::size_t size = std::size_t{1} << 20; size >= 16; size /= 2) {
        do allocated = new (std::nothrow) char[size];
        while (allocated != nullptr);
    }
    (void)!::write(STDERR_FILENO, "exhausted\n", 10);
    allocated = new char[16];
    ::_exit(0);
}

TEST(Osal, AllocationThatFailsEndsTheProcessUnlessItMayFail) {
    if (Sanitized) GTEST_SKIP() << "a sanitizer allocates on its own";
    EXPECT_EXIT(useUpMemory(), testing::KilledBySignal(SIGABRT),
                "^exhausted\nout of memory: an allocation \\(operator new, framework/include/osal/common/osal\\)\n$");
}

class CountingThread final : public osal::Thread {
  public:
    CountingThread() : Thread("counting_thread_with_a_long_name", false, 0) {}
    std::atomic<int> runs{0};

  protected:
    void entry() override { ++runs; }
};

TEST(Thread, RunsOnceAndMayBeJoinedTwice) {
    CountingThread thread;
    EXPECT_FALSE(thread.join()) << "never started";
    ASSERT_FALSE(thread.start());
    EXPECT_FALSE(thread.join());
    EXPECT_FALSE(thread.join());
    EXPECT_EQ(thread.runs, 1);
}

class ProcessTest : public testing::Test {
  protected:
    std::string script(const char* text) const {
        std::string path = directory.path() + "/script";
        std::ofstream(path) << text;
        ::chmod(path.c_str(), 0700);
        return path;
    }
    bool appears(const std::string& path) const {
        for (int i = 0; i < 3000; ++i) {
            if (std::filesystem::exists(path)) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    TemporaryDirectory directory;
};

TEST_F(ProcessTest, AStartedScriptRunsWithoutItsStarterAndLeavesNoChild) {
    const std::string done = directory.path() + "/done";
    pid_t id = osal::ProcessTNG::INVALID_PROCESS_ID;
    {
        osal::ProcessTNG process(
            script(("#!/bin/sh\necho $$ > " + done + ".part\nmv " + done + ".part " + done).c_str()));
        id = process.start();
    }
    ASSERT_NE(id, osal::ProcessTNG::INVALID_PROCESS_ID);
    ASSERT_TRUE(appears(done));
    pid_t told = 0;
    std::ifstream(done) >> told;
    EXPECT_EQ(told, id);
    // Nobody is left to wait for: neither a running child nor a zombie.
    std::string children;
    std::getline(std::ifstream("/proc/self/task/" + std::to_string(::getpid()) + "/children"), children);
    EXPECT_EQ(children, "");
}

// Makes the kernel of this process one that does not know close_range.
bool forgetCloseRange() {
    sock_filter instructions[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                                  BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_close_range, 0, 1),
                                  BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                                  BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog program{std::size(instructions), instructions};
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

TEST_F(ProcessTest, AStartedProgramHasItsStreamsAndNoOtherDescriptor) {
    const std::string done = directory.path() + "/done";
    const std::string path = script(("#!/bin/sh\nfor i in 0 1 2 77; do\nx=$(readlink /proc/$$/fd/$i)\n"
                                     "echo ${x:-none} >> " +
                                     done + ".part\ndone\nmv " + done + ".part " + done)
                                        .c_str());
    enum class Start { Plain, AfterOsal, OnOldKernel };
    for (const Start start : {Start::Plain, Start::AfterOsal, Start::OnOldKernel}) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::dup2(STDERR_FILENO, 77);
            for (const int stream : {0, 1, 2}) ::close(stream);
            std::optional<osal::Osal> osal;
            if (start == Start::AfterOsal) osal.emplace(true, false);
            const bool ready = start != Start::OnOldKernel || forgetCloseRange();
            ::_exit(ready && osal::ProcessTNG(path).start() != osal::ProcessTNG::INVALID_PROCESS_ID ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        ASSERT_TRUE(appears(done));
        std::stringstream told;
        told << std::ifstream(done).rdbuf();
        EXPECT_EQ(told.str(), "/dev/null\n/dev/null\n/dev/null\nnone\n");
        std::filesystem::remove(done);
    }
}

TEST_F(ProcessTest, WhatCannotBeExecutedIsAFailureWithItsReason) {
    const std::string missing = directory.path() + "/missing";
    EXPECT_EQ(osal::ProcessTNG(missing).start(), osal::ProcessTNG::INVALID_PROCESS_ID);
    EXPECT_EQ(std::string(ipl::ErrorStorage::reason()), "starting " + missing + ": No such file or directory");
    EXPECT_EQ(osal::ProcessTNG(directory.path()).start(), osal::ProcessTNG::INVALID_PROCESS_ID);
    EXPECT_EQ(std::string(ipl::ErrorStorage::reason()), "starting " + directory.path() + ": Permission denied");
    ipl::ErrorStorage::ack();
}

}  // namespace
