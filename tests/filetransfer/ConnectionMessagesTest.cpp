#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "ConnectionMessages.h"

namespace {

using std::chrono::milliseconds;
using Lines = std::vector<ipl::string>;

class ConnectionMessagesTest : public testing::Test {
  protected:
    static constexpr const char* Opened = "opened";
    static constexpr const char* Failed = "failed";

    // A connection that begins at this time and fails this much later.
    void connect(int at, int lasting, const char* reason = "full") {
        messages.begin(start + milliseconds(at));
        messages.say(Opened, {}, start + milliseconds(at));
        messages.say(Failed, reason, start + milliseconds(at + lasting));
    }
    Lines takeLines() { return std::exchange(lines, {}); }

    Lines lines;
    ConnectionMessages messages{[this](const ipl::string& text) { lines.push_back(text); }};
    const ConnectionMessages::Clock::time_point start = ConnectionMessages::Clock::now();
};

TEST_F(ConnectionMessagesTest, OfEachOneASecondIsPrintedAndTheOthersAreCounted) {
    connect(0, 1);
    EXPECT_EQ(takeLines(), (Lines{Opened, "full", Failed}));
    for (const int at : {2, 500, 999}) connect(at, 0);
    EXPECT_EQ(takeLines(), Lines{});
    connect(1000, 1);
    EXPECT_EQ(takeLines(), (Lines{"opened (and 3 more like it)", "full", "failed (and 3 more like it)"}));
    connect(1500, 1);
    messages.conclude();
    EXPECT_EQ(takeLines(), (Lines{"opened (1 more like it)", "full", "failed (1 more like it)"}));
    messages.conclude();
    EXPECT_EQ(takeLines(), Lines{});
    connect(2500, 1);
    EXPECT_EQ(takeLines(), (Lines{Opened, "full", Failed}));
}

// The second connection fails more than a second after the first one, but begins before that.
TEST_F(ConnectionMessagesTest, BriefConnectionIsPrintedAsAWholeOrNotAtAll) {
    connect(0, 0);
    EXPECT_EQ(takeLines().size(), 3U);
    connect(950, 60);
    EXPECT_EQ(takeLines(), Lines{});
    connect(1010, 60);
    EXPECT_EQ(takeLines(), (Lines{"opened (and 1 more like it)", "full", "failed (and 1 more like it)"}));
}

TEST_F(ConnectionMessagesTest, EachConnectionAndReasonThatIsAnEventOfItsOwnIsPrinted) {
    connect(0, 500);
    connect(1001, 499);
    EXPECT_EQ(takeLines(), (Lines{Opened, "full", Failed, Opened, "full", Failed}));
    connect(2001, 10, "broken");
    connect(2100, 10, "broken");
    EXPECT_EQ(takeLines(), (Lines{Opened, "broken", Failed}));
}

}  // namespace
