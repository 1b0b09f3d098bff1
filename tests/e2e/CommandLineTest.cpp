#include "EndToEndTest.h"

namespace {

struct Mistake {
    std::vector<std::string> arguments;
    std::string text;
};

class BadCommandLineTest : public EndToEndTest, public testing::WithParamInterface<Mistake> {};

using CommandLineTest = EndToEndTest;

TEST_P(BadCommandLineTest, IsRefusedWithItsMistakeAndTheUsage) {
    Program help({"--help"});
    EXPECT_EQ(help.waitForExit(), 0);
    Program program(GetParam().arguments);
    EXPECT_EQ(program.waitForExit(), 255);
    EXPECT_EQ(program.output().text(), GetParam().text + '\n' + help.output().text());
    EXPECT_EQ(program.errors().text(), "");
}

INSTANTIATE_TEST_SUITE_P(
    All, BadCommandLineTest,
    testing::Values(Mistake{{"-x"}, "Couldn't find match for argument -x"},
                    Mistake{{"extra", "-s", "1"}, "Couldn't find match for argument extra"},
                    Mistake{{"undefined"}, "Couldn't find match for argument undefined"},
                    Mistake{{"-n", "undefined", "undefined"}, "Couldn't find match for argument undefined"},
                    Mistake{{"-s", "undefined"}, "Couldn't read argument value from string 'undefined'"},
                    Mistake{{"-s", "abc"}, "Couldn't read argument value from string 'abc'"},
                    Mistake{{"-s", "5abc"}, "Couldn't read argument value from string '5abc'"},
                    Mistake{{"-s", "5 6"}, "More than one valid value parsed from string '5 6'"},
                    Mistake{{"-s", "1", "-s", "2"}, "Argument already set: -s (--service-instance-id)"},
                    Mistake{{"-s"}, "Missing a value for this argument: -s (--service-instance-id)"},
                    Mistake{{"-n"}, "Missing a value for this argument: -n (--procname)"},
                    Mistake{{"--foo", "--help"}, "Couldn't find match for argument --foo"}));

TEST_F(CommandLineTest, HelpAndVersionAreTold) {
    Program help({"--help", "-x"});
    EXPECT_EQ(help.waitForExit(), 0);
    for (const char* text : {"USAGE: ", "--service-instance-id <INSTANCE>", "--procname <PROCNAME>",
                             "--mountpoint <MOUNTPOINT>", "ZID testbench for communication stresstesting"})
        EXPECT_NE(help.output().text().find(text), std::string::npos) << text;

    Program version({"--version"});
    EXPECT_EQ(version.waitForExit(), 0);
    EXPECT_NE(version.output().text().find("version: 0.1"), std::string::npos);
}

TEST_F(CommandLineTest, WordsBehindTwoDashesAreIgnored) {
    Program service({"-s", "3", "--", "-s", "4", "extra"});
    service.waitForLine("directly starting zid service with instance3");
    service.waitForLine("starting service with instance 3");
}

TEST_F(CommandLineTest, ServiceTakesTheLow16BitsOfTheInstance) {
    Program service({"--service-instance-id", "65537"});
    service.waitForLine("directly starting zid service with instance65537");
    service.waitForLine("starting service with instance 1");
    Program shell({"-n", ""});
    runTest(shell, 1);
    leave(shell);
}

TEST_F(CommandLineTest, NoInstanceOrANegativeOneMeansTheShell) {
    for (const auto& arguments : std::vector<std::vector<std::string>>{{}, {"-s", "0"}, {"-s", "-3"}}) {
        Program shell(arguments);
        shell.waitForLine("starting shell, type \"list_services --full\" for command api");
        shell.waitForLine("ZIDShell started");
        leave(shell);
    }
}

}  // namespace
