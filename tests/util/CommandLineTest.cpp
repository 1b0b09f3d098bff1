#include <gtest/gtest.h>

#include <random>

#include "shell/BuiltinParameters.h"
#include "shell/CommandLine.h"
#include "util/CommandParameterInteger.h"

namespace {

using util::CommandParameterInteger;
using util::shell::CommandLine;
using Values = ipl::vector<ipl::string>;

class SilentService final : public util::CommandShellService {
  public:
    void onShellEvent(int /*event*/, unsigned short /*commandId*/) override {}
};

class CommandLineTest : public testing::Test {
  protected:
    CommandLineTest() {
        m_instance.setProperties("instance", "which one", 1, 99, 2, CommandParameterInteger::Decimal);
        m_payload.setProperties("payload", "how much", 0, 1048576, 100, CommandParameterInteger::Decimal);
        m_delay.setProperties("delay", "how slow", -5, 1000, 50, CommandParameterInteger::Decimal);
        m_list.commands = {
            {&m_service, 1, "startZID", "starts", {&m_instance, &m_payload, &m_delay}, true},
            {&m_service, 2, "stopAll", "stops", {}, true},
            {&m_service, 3, "secret", "is not shown", {}, false},
            {nullptr, 0, "list", "lists", {&m_full, &m_word}, true},
        };
    }

    CommandLine parse(const ipl::string& text) const { return {text, m_list}; }
    ipl::string refusal(const ipl::string& text) const { return parse(text).refusal(); }
    Values values(const ipl::string& text) const {
        const CommandLine line = parse(text);
        return line.refusal().empty() ? line.values() : Values{line.refusal()};
    }

    SilentService m_service;
    CommandParameterInteger m_instance;
    CommandParameterInteger m_payload;
    CommandParameterInteger m_delay;
    util::shell::FlagParameter m_full{"full", "everything"};
    util::shell::WordParameter m_word{"word", "any"};
    util::shell::CommandList m_list;
};

TEST_F(CommandLineTest, ValuesInOrderGoToTheParametersInOrder) {
    EXPECT_EQ(values("startZID 3 4096 7"), (Values{"3", "4096", "7"}));
    EXPECT_EQ(parse("startZID 3").command().id, 1);
}

TEST_F(CommandLineTest, LeftOutParametersTakeTheirDefaults) {
    EXPECT_EQ(values("startZID"), (Values{"2", "100", "50"}));
    EXPECT_EQ(values("startZID --payload 9"), (Values{"2", "9", "50"}));
}

TEST_F(CommandLineTest, NamedValuesAreTakenWithBlankAndWithEqualsSign) {
    EXPECT_EQ(values("startZID --delay -3 --payload=9"), (Values{"2", "9", "-3"}));
}

TEST_F(CommandLineTest, ValueWithoutNameGoesToTheFirstParameterNotYetSet) {
    EXPECT_EQ(values("startZID --instance 3 4096"), (Values{"3", "4096", "50"}));
    EXPECT_EQ(values("startZID 3 --payload 5 6"), (Values{"3", "5", "6"}));
}

TEST_F(CommandLineTest, FlagIsSetByItsNameAndNeverByPosition) {
    EXPECT_EQ(values("list x"), (Values{"no", "x"}));
    EXPECT_EQ(values("list --full x"), (Values{"yes", "x"}));
    EXPECT_EQ(refusal("list --full=2"), "full takes yes or no, not '2'");
}

TEST_F(CommandLineTest, ParsingAssignsNothing) {
    (void)parse("startZID 3 4096 7");
    EXPECT_EQ(m_payload, 100);
}

TEST_F(CommandLineTest, ValueOutsideItsRangeIsRefusedWithTheRange) {
    EXPECT_EQ(refusal("startZID 0"), "instance takes 1 to 99, not '0'");
    EXPECT_EQ(refusal("startZID --payload 1048577"), "payload takes 0 to 1048576, not '1048577'");
    EXPECT_TRUE(refusal("startZID 99 1048576 -5").empty());
}

TEST_F(CommandLineTest, WhatIsNoNumberIsRefused) {
    for (const char* word : {"x", "3x", "0x3", "+3", "3.0", "", "99999999999999999999", "&", "-"})
        EXPECT_EQ(refusal("startZID --instance=" + ipl::string(word) + " 5"),
                  "instance takes 1 to 99, not '" + ipl::string(word) + "'");
}

TEST_F(CommandLineTest, MisusedParametersAreRefusedByName) {
    EXPECT_EQ(refusal("startZID 3 --instance 4"), "instance is given twice: as 3 and as 4");
    EXPECT_EQ(refusal("startZID --payload"), "a value is missing after --payload: 0 to 1048576, default 100");
    EXPECT_EQ(refusal("startZID --payload --delay 3"), refusal("startZID --payload"));
    EXPECT_EQ(refusal("startZID --paylod 3"), "startZID has no parameter 'paylod': did you mean --payload?");
    EXPECT_EQ(refusal("startZID --x 3"), "startZID has no parameter 'x'; it takes --instance, --payload, --delay");
    EXPECT_EQ(refusal("startZID 1 2 3 4"), "'4' is too much: startZID takes instance, payload, delay");
    EXPECT_EQ(refusal("stopAll 4"), "'4' is too much: stopAll takes no parameters");
}

TEST_F(CommandLineTest, UnknownCommandIsRefusedWithTheNearestListedName) {
    EXPECT_EQ(refusal("startZid 3"), "unknown command 'startZid': did you mean startZID?");
    EXPECT_EQ(refusal("stpAll"), "unknown command 'stpAll': did you mean stopAll?");
    EXPECT_EQ(refusal("secre"), "unknown command 'secre': help lists what there is");
    EXPECT_TRUE(refusal("secret").empty());
}

TEST_F(CommandLineTest, BlankAndCommentLinesAreEmpty) {
    for (const char* text : {"", "  \t ", "# startZID", "  #", "\r", "\r\n"})
        EXPECT_TRUE(parse(text).isEmpty()) << text;
    EXPECT_FALSE(parse("stopAll").isEmpty());
}

TEST_F(CommandLineTest, CommentBeginsAtAWordOnly) {
    EXPECT_EQ(values("startZID 3 # 4 \xc3\xbc"), (Values{"3", "100", "50"}));
    EXPECT_EQ(refusal("startZID 3#4"), "instance takes 1 to 99, not '3#4'");
}

TEST_F(CommandLineTest, LineEndOfAnotherSystemIsTolerated) {
    EXPECT_EQ(values("startZID 3\r\n")[0], "3");
}

TEST_F(CommandLineTest, AmpersandAtTheEndMeansBackground) {
    for (const char* text : {"startZID  3 &", "startZID  3&", "startZID  3 & # so"}) {
        const CommandLine line = parse(text);
        EXPECT_TRUE(line.inBackground()) << text;
        EXPECT_EQ(line.text(), "startZID  3");
    }
    EXPECT_FALSE(parse("startZID 3").inBackground());
    EXPECT_EQ(refusal(" &"), "there is no command before the &");
    EXPECT_EQ(refusal("list &"), "list is the shell's own and does not run in the background: leave out the &");
}

TEST_F(CommandLineTest, LineIsRefusedFromOneCharacterMoreThanAllowed) {
    const ipl::string blanks(CommandLine::MaxLength - 7, ' ');
    EXPECT_TRUE(refusal(blanks + "stopAll").empty());
    EXPECT_EQ(refusal(blanks + " stopAll"), "the line is longer than 1024 characters");
    EXPECT_EQ(refusal(ipl::string(CommandLine::MaxLength + 1, ' ')), "the line is longer than 1024 characters");
}

TEST_F(CommandLineTest, GarbageIsRefusedWithoutBeingRepeated) {
    const ipl::string expected = "the line holds a character that is not printable ASCII";
    EXPECT_EQ(refusal("startZID \x1b[2J"), expected);
    EXPECT_EQ(refusal(ipl::string("stop\0All", 8)), expected);
    EXPECT_EQ(refusal("\xff\xfe"), expected);
}

TEST_F(CommandLineTest, RandomLinesGiveAcceptedValuesOrARefusal) {
    std::mt19937 random(1);  // NOLINT(*-msc51-cpp): the same lines in every run
    const Values pieces{"startZID", " ", "--", "payload", "=",       "3",    "&",
                        "#",        "-", "\r", "\t",      "1048577", "list", "\x80"};
    for (int i = 0; i < 20000; ++i) {
        ipl::string text = i % 2 == 0 ? "startZID " : "";
        for (auto length = random() % 12; length > 0; --length) text += pieces[random() % pieces.size()];
        const CommandLine line = parse(text);
        if (!line.refusal().empty() || line.isEmpty()) continue;
        ASSERT_EQ(line.values().size(), line.command().parameters.size()) << text;
        ipl::string reason;
        for (std::size_t k = 0; k < line.values().size(); ++k)
            EXPECT_TRUE(line.command().parameters[k]->accepts(line.values()[k], reason)) << text << ": " << reason;
    }
}

}  // namespace
