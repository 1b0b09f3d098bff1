#include <sys/stat.h>
#include <unistd.h>

#include "EndToEndTest.h"

namespace {

struct Mistake {
    std::string text;
    std::string complaint;  // after the file's name
};

class BadConfigurationTest : public EndToEndTest, public testing::WithParamInterface<Mistake> {};

using ConfigurationTest = EndToEndTest;

TEST_P(BadConfigurationTest, FailsTheStartWithFileLineAndWhatIsAllowed) {
    configure("bad", GetParam().text);
    Program program({"-n", "bad"});
    EXPECT_EQ(program.waitForExit(), 255);
    EXPECT_EQ(program.output().text(), "could not start COMM Agent: the agent cannot be configured: " +
                                           configuration("bad").string() + GetParam().complaint + '\n');
}

INSTANTIATE_TEST_SUITE_P(
    All, BadConfigurationTest,
    testing::Values(Mistake{"transport = \"dds\"\n\ndomian = 1\n",
                            ":3: 'domian' is unknown; there are transport, domain, interface, peers and lease_ms"},
                    Mistake{"# none of the two\ntransport = \"udp\"", ":2: 'transport' must be \"local\" or \"dds\""},
                    Mistake{"transport = 1", ":1: 'transport' must be \"local\" or \"dds\""},
                    Mistake{"domain = \"1\"", ":1: 'domain' must be a whole number from 0 to 230"},
                    Mistake{"domain = 231", ":1: 'domain' must be a whole number from 0 to 230"},
                    Mistake{"lease_ms = 199", ":1: 'lease_ms' must be a whole number from 200 to 600000"},
                    Mistake{"lease_ms = 3e3", ":1: 'lease_ms' must be a whole number from 200 to 600000"},
                    Mistake{"interface = \"eth0\\\"/>\"",
                            ":1: 'interface' must be the name or the address of a network interface, such as \"eth0\""},
                    Mistake{"peers = \"10.0.0.1\"",
                            ":1: 'peers' must be a list of the names or addresses of hosts, such as [\"192.168.1.2\"]"},
                    Mistake{"peers = [\"10.0.0.1\",\n4]",
                            ":1: 'peers' must be a list of the names or addresses of hosts, such as [\"192.168.1.2\"]"},
                    Mistake{"transport = dds", ":1: Error while parsing value: could not determine value type"}));

TEST_F(ConfigurationTest, FileThatCannotBeReadFailsTheStart) {
    std::filesystem::create_directories(configuration("folder"));
    ASSERT_EQ(::mkfifo(configuration("pipe").c_str(), 0600), 0);
    ASSERT_EQ(::symlink("loop.toml", configuration("loop").c_str()), 0);
    const std::string irregular = " is no regular file: write the configuration to one, or remove this";
    for (const auto& [name, complaint] : {std::pair<std::string, std::string>("folder", irregular),
                                          {"pipe", irregular},
                                          {"loop", " cannot be read: Too many levels of symbolic links"}}) {
        Program program({"-n", name});
        EXPECT_EQ(program.waitForExit(), 255);
        EXPECT_EQ(program.output().text(), "could not start COMM Agent: the agent cannot be configured: " +
                                               configuration(name).string() + complaint + '\n');
    }
    Program outside({"-n", "../bad"});
    EXPECT_EQ(outside.waitForExit(), 255);
    EXPECT_NE(outside.output().text().find("'../bad' names no configuration"), std::string::npos);
}

TEST_F(ConfigurationTest, ProcessNameSelectsTheFile) {
    configure("bad", "transport = \"none\"");
    configure("good", "transport = \"local\"\ndomain = 7\n");
    Program service({"-s", "5", "-n", "good"});
    Program shell({});
    runTest(shell, 5);
    leave(shell);
}

TEST_F(ConfigurationTest, ProcessWithoutANameIsATestclient) {
    configure("testclient", "none");
    Program program({});
    EXPECT_EQ(program.waitForExit(), 255);
    EXPECT_NE(program.output().text().find(configuration("testclient").string()), std::string::npos);
}

}  // namespace
