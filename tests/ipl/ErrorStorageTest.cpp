#include <gtest/gtest.h>

#include <thread>

#include "ipl/ErrorOutput.h"
#include "ipl/ErrorStorage.h"
#include "ipl/StdoutDumpErrorStorage.h"
#include "ipl/UUID.h"
#include "ipl/iostream.h"

namespace {

void report(const char* reason) {
    ipl::ErrorOutput("some/file", 7).report("some::Error", 3, reason);
}

TEST(ErrorStorage, ReasonIsTheThreadsOwnAndStaysUntilAcknowledged) {
    report("mine, first");
    report("mine, latest");
    std::thread([] {
        EXPECT_EQ(ipl::ErrorStorage::reason(), nullptr);
        EXPECT_FALSE(ipl::ErrorStorage::isError(true));
        EXPECT_TRUE(ipl::ErrorStorage::isError(false));
        report("another thread's");
        EXPECT_STREQ(ipl::ErrorStorage::reason(), "another thread's");
        ipl::ErrorStorage::ack();
    }).join();
    EXPECT_STREQ(ipl::ErrorStorage::reason(), "mine, latest");
    ipl::ErrorStorage::ack();
    EXPECT_EQ(ipl::ErrorStorage::reason(), nullptr);
    EXPECT_FALSE(ipl::ErrorStorage::isError(false));
}

TEST(ErrorStorage, WhatNobodyAcknowledgedIsDumpedOnceAtTheEnd) {
    testing::internal::CaptureStdout();
    {
        const ipl::StdoutDumpErrorStorage storage;
        std::thread([] { report("bind x: Permission denied"); }).join();
        report("seen");
        ipl::ErrorStorage::ack();
    }
    { const ipl::StdoutDumpErrorStorage storage; }
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "unacknowledged error: bind x: Permission denied (some::Error 3, some/file:7)\n");
}

TEST(Streams, LinesKeepTheirOrderWithPrintfAndStayWhole) {
    testing::internal::CaptureStdout();
    ipl::cout << "a" << 1 << ipl::endl;
    std::printf("b\n");
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([] {
            for (int i = 0; i < 200; ++i)
                ipl::cout << "one "
                          << "line "
                          << "of pieces" << ipl::endl;
        });
    for (auto& writer : writers) writer.join();
    std::istringstream lines(testing::internal::GetCapturedStdout());
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "a1");
    std::getline(lines, line);
    EXPECT_EQ(line, "b");
    int count = 0;
    for (; std::getline(lines, line); ++count) ASSERT_EQ(line, "one line of pieces");
    EXPECT_EQ(count, 800);
}

TEST(UUID, TextShowsTheComponentsInTheirOrder) {
    constexpr ipl::UUID uuid{0x8ebd7ae6, 0xaaee, 0x11df, 0xac5e, 0x53, 0xa6, 0xf4, 0x2e, 0x2b, 0x07};
    EXPECT_EQ(uuid.toString(), "8ebd7ae6-aaee-11df-ac5e-53a6f42e2b07");
}

}  // namespace
