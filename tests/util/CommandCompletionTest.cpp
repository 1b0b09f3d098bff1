#include <gtest/gtest.h>

#include "shell/Completion.h"
#include "util/CommandParameterInteger.h"

namespace {

using util::CommandParameterInteger;
using util::shell::commonBeginning;
using util::shell::completions;
using Words = ipl::vector<ipl::string>;

class CommandCompletionTest : public testing::Test {
  protected:
    CommandCompletionTest() {
        m_instance.setProperties("instance", "", 1, 9, 2, CommandParameterInteger::Decimal);
        m_payload.setProperties("payload", "", 1, 9, 2, CommandParameterInteger::Decimal);
        m_list.commands = {{nullptr, 1, "startService", "", {&m_instance}, true},
                           {nullptr, 2, "startZID", "", {&m_instance, &m_payload}, true},
                           {nullptr, 3, "startSecretly", "", {}, false},
                           {nullptr, 0, "help", "", {}, true}};
    }

    CommandParameterInteger m_instance;
    CommandParameterInteger m_payload;
    util::shell::CommandList m_list;
};

TEST_F(CommandCompletionTest, LineBeginsWithAListedCommand) {
    EXPECT_EQ(completions("start", m_list), (Words{"startService", "startZID"}));
    EXPECT_EQ(completions("  startZ", m_list), (Words{"startZID"}));
    EXPECT_EQ(completions("", m_list).size(), 3U);
    EXPECT_TRUE(completions("stop", m_list).empty());
}

TEST_F(CommandCompletionTest, ParameterNamesFollowTheirCommand) {
    EXPECT_EQ(completions("startZID ", m_list), (Words{"--instance", "--payload"}));
    EXPECT_EQ(completions("startZID 3 --p", m_list), (Words{"--payload"}));
    EXPECT_TRUE(completions("startService --p", m_list).empty());
    EXPECT_TRUE(completions("nonsense --", m_list).empty());
}

TEST_F(CommandCompletionTest, CommandNamesFollowHelp) {
    EXPECT_EQ(completions("help startS", m_list), (Words{"startService"}));
}

TEST_F(CommandCompletionTest, CommonBeginningEndsWhereTheWordsDiffer) {
    EXPECT_EQ(commonBeginning({"startService", "startZID"}), "start");
    EXPECT_EQ(commonBeginning({"start", "startZID"}), "start");
    EXPECT_EQ(commonBeginning({"startZID", "x"}), "");
    EXPECT_EQ(commonBeginning({}), "");
}

}  // namespace
