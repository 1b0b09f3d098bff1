#include <gtest/gtest.h>

#include "ipl/RepeatLimit.h"

namespace {

using std::chrono::milliseconds;

TEST(RepeatLimitTest, OneASecondPassesAndCountsThoseHeldBack) {
    ipl::RepeatLimit limit;
    const auto begin = ipl::RepeatLimit::Clock::now();
    ipl::string first = "no descriptors";
    EXPECT_TRUE(limit.admit(first, begin));
    EXPECT_EQ(first, "no descriptors");
    for (const int ms : {0, 500, 999}) {
        ipl::string heldBack = "no descriptors";
        EXPECT_FALSE(limit.admit(heldBack, begin + milliseconds(ms))) << ms;
    }
    ipl::string second = "no descriptors";
    EXPECT_TRUE(limit.admit(second, begin + milliseconds(1000)));
    EXPECT_EQ(second, "no descriptors (and 3 more like it)");
    ipl::string third = "no descriptors";
    EXPECT_TRUE(limit.admit(third, begin + milliseconds(2000)));
    EXPECT_EQ(third, "no descriptors");
}

TEST(RepeatLimitTest, ThoseHeldBackAtTheEndAreCounted) {
    ipl::RepeatLimit limit;
    const auto begin = ipl::RepeatLimit::Clock::now();
    ipl::string text = "no descriptors";
    EXPECT_TRUE(limit.admit(text, begin));
    EXPECT_FALSE(limit.conclude(text));
    EXPECT_FALSE(limit.admit(text, begin));
    EXPECT_FALSE(limit.admit(text, begin));
    EXPECT_EQ(text, "no descriptors");
    EXPECT_TRUE(limit.conclude(text));
    EXPECT_EQ(text, "no descriptors (2 more like it)");
    EXPECT_FALSE(limit.conclude(text));
}

}  // namespace
