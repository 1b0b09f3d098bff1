#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <utility>
#include <vector>

#include "FileReceiver.h"

namespace {

// Shows these times, one at each look, and the last for ever.
class ScriptedWatch final : public osal::StopWatchBase {
  public:
    using Look = std::function<void(std::size_t looks)>;

    explicit ScriptedWatch(
        std::vector<int> milliseconds, Look look = [](std::size_t) {})
        : m_times(std::move(milliseconds)), m_look(std::move(look)) {}

  protected:
    std::int64_t now() const override {
        const std::size_t index = m_looks++;
        m_look(m_looks);
        return m_times[std::min(index, m_times.size() - 1)] * std::int64_t{1'000'000};
    }

  private:
    const std::vector<int> m_times;
    const Look m_look;
    mutable std::size_t m_looks = 0;
};

class FileReceiverTest : public testing::Test {
  protected:
    // What is printed while so many chunks come from a file without an end. The watch is started after the first, and
    // then looked at after each.
    std::string receive(std::uint32_t payload, const std::vector<int>& milliseconds) {
        std::vector<int> times{0};
        times.insert(times.end(), milliseconds.begin(), milliseconds.end());
        ScriptedWatch watch(times);
        const auto count = static_cast<std::uint32_t>(milliseconds.size());
        testing::internal::CaptureStdout();
        FileReceiver(
            {.path = "/dev/zero", .payload = payload, .delay = 0, .count = count}, running, [](auto&) {}, watch)
            .run();
        return testing::internal::GetCapturedStdout();
    }

    std::atomic<bool> running{false};
};

TEST_F(FileReceiverTest, ProgressIsReportedWhenMoreThanFiveSecondsHavePassed) {
    EXPECT_EQ(receive(10, {5000, 5001, 10001, 10002, 10003}),
              " running - currently read item counter: 2\n"
              " transferred 20 bytes in 5001 msec => 0 MBit/sec\n"
              " running - currently read item counter: 4\n"
              " transferred 40 bytes in 10002 msec => 0 MBit/sec\n"
              "transferred 50 bytes in 10003 msec => 0 MBit/sec");
    EXPECT_EQ(receive(10, {5000}), "transferred 10 bytes in 5000 msec => 0 MBit/sec");
}

// 10000 bytes a millisecond, and one less.
TEST_F(FileReceiverTest, RateIsRoundedDownInEachDivision) {
    EXPECT_EQ(receive(1000000, {100}), "transferred 1000000 bytes in 100 msec => 80 MBit/sec");
    EXPECT_EQ(receive(999999, {100}), "transferred 999999 bytes in 100 msec => 79 MBit/sec");
    std::vector<int> times;
    for (int chunk = 1; chunk <= 100; ++chunk) times.push_back(chunk * 1048576 / 10000);
    const std::string text = receive(1048576, times);
    EXPECT_NE(text.find("counter: 48\n transferred 50331648 bytes in 5033 msec => 80 MBit/sec\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("counter: 96\n transferred 100663296 bytes in 10066 msec => 80 MBit/sec\n"), std::string::npos)
        << text;
}

TEST_F(FileReceiverTest, TransferInNoTimeHasNoRate) {
    EXPECT_EQ(receive(10, {0, 0}), "");
    EXPECT_EQ(receive(10, {0, 1}), "transferred 20 bytes in 1 msec => 0 MBit/sec");
}

// An empty file's connections end at once, each with two looks at the watch.
TEST_F(FileReceiverTest, ConnectionsThatEndAtOnceAreCountedInAFewLines) {
    constexpr std::size_t Connections = 1000;
    const ipl::string end = "read returned 0 - eof - reestablish communication";
    std::vector<ipl::string> lines;
    ScriptedWatch watch({0}, [this](std::size_t looks) { running = looks < 2 * Connections; });
    const auto start = std::chrono::steady_clock::now();
    FileReceiver(
        {.path = "/dev/null", .payload = 1, .delay = 0, .count = 0}, running,
        [&lines](const ipl::string& text) { lines.push_back(text); }, watch)
        .run();
    const auto seconds = std::chrono::floor<std::chrono::seconds>(std::chrono::steady_clock::now() - start).count();
    ASSERT_GE(lines.size(), 3U);
    EXPECT_LE(lines.size(), 3U + static_cast<std::size_t>(seconds));
    EXPECT_EQ(lines[1], end);
    std::size_t connections = 1;
    for (std::size_t i = 2; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].substr(0, end.size()), end);
        connections += std::strtoul(lines[i].c_str() + lines[i].find_first_of("0123456789", end.size()), nullptr, 10);
        if (lines[i].find("(and") != std::string::npos) ++connections;
    }
    EXPECT_EQ(connections, Connections);
}

}  // namespace
