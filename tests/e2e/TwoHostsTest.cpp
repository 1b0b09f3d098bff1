#include <cstdlib>

#include "EndToEndTest.h"
#include "ScriptTurn.h"
#include "TwoHosts.h"

namespace {

using Host = TwoHosts::Host;
using Milliseconds = Program::Milliseconds;

constexpr const char* Lease = "lease_ms = 3000\n";

// Services run in the east and shells in the west.
class TwoHostsTest : public EndToEndTest {
  protected:
    TwoHostsTest() {
        for (const char* name : {"east", "west"}) {
            std::filesystem::create_directory(runtimeDirectory() / name);
            std::filesystem::permissions(runtimeDirectory() / name, std::filesystem::perms::owner_all);
            configure(name, std::string("transport = \"dds\"\n") + Lease);
        }
        ::setenv("TSAN_OPTIONS", THREAD_SANITIZER_DDS, 1);
    }

    void SetUp() override {
        if (!hosts.obstacle().empty()) GTEST_SKIP() << hosts.obstacle();
    }

    Program start(Host host, std::vector<std::string> arguments) const {
        const std::string name = host == TwoHosts::East ? "east" : "west";
        arguments.insert(arguments.end(), {"-n", name});
        return Program(hosts.on(host, runtimeDirectory() / name, ZIDBENCH_PROGRAM, arguments), Program::Output::Piped,
                       TwoHosts::Runner);
    }
    Program serve(int instance) const { return start(TwoHosts::East, {"-s", std::to_string(instance)}); }

    // A service and a client whose test is under way.
    static void begin(Program& service, Program& shell, const std::string& parameters) {
        shell.write("startZID 5 " + parameters);
        service.waitForLine("ZidService(5): starting test with *");
        service.letRun(Milliseconds(200));
    }

    static void checkEitherOrder(Program& shell, const TwoHostsTest& test) {
        Program first = test.serve(5);
        first.waitForLine("starting service with instance 5");
        runTest(shell, 5);
        shell.write("startZID 6");
        shell.waitForLine("ZidClient - waiting for service ... ");
        Program late = test.serve(6);
        shell.waitForLine(".. connected.");
        late.waitForLine("ZidService(6): starting test with *");
        shell.write("stopZID 6");
        Report::readFrom(shell, "ZID stats(inst=6, *");
        leave(shell);
        EXPECT_EQ(shell.errors().text(), "");
    }

    const ScriptTurn turn;
    const TwoHosts hosts;
};

TEST_F(TwoHostsTest, EitherSideMayComeFirst) {
    Program shell = start(TwoHosts::West, {});
    checkEitherOrder(shell, *this);
}

TEST_F(TwoHostsTest, HostsFindEachOtherByAListAlone) {
    hosts.takeMulticast();
    configure("east", std::string("transport = \"dds\"\npeers = [\"") + TwoHosts::address(TwoHosts::West) + "\"]\n");
    configure("west", std::string("transport = \"dds\"\npeers = [\"") + TwoHosts::address(TwoHosts::East) + "\"]\n");
    Program shell = start(TwoHosts::West, {});
    shell.waitForError("warning: selected interface \"wire\" is not multicast-capable*");
    Program service = serve(5);
    service.waitForLine("starting service with instance 5");
    runTest(shell, 5);
    leave(shell);
}

TEST_F(TwoHostsTest, LongMessagesArrive) {
    Program service = serve(5);
    Program shell = start(TwoHosts::West, {});
    runTest(shell, 5, "--payload 1048576 --delay 0 --burstcount 10");
    leave(shell);
    EXPECT_EQ(service.output().text().find("Skipping"), std::string::npos);
    EXPECT_EQ(service.errors().text() + shell.errors().text(), "");
}

TEST_F(TwoHostsTest, MessagesArriveOverABadWire) {
    // What the system cannot do to the wire, the engine does to itself.
    if (!hosts.spoil("loss 3% delay 5ms"))
        ::setenv("CYCLONEDDS_URI",
                 "<Domain><Internal><Test><XmitLossiness>30</XmitLossiness></Test></Internal></Domain>", 1);
    Program service = serve(5);
    Program shell = start(TwoHosts::West, {});
    ::unsetenv("CYCLONEDDS_URI");
    runTest(shell, 5, "--payload 65536 --delay 0 --burstcount 10");
    leave(shell);
    EXPECT_EQ(shell.output().count("timeout*"), 0U);
    EXPECT_EQ(service.output().text().find("Skipping"), std::string::npos);
}

TEST_F(TwoHostsTest, TestGoesOnAfterACutShorterThanTheLease) {
    Program service = serve(5);
    Program shell = start(TwoHosts::West, {});
    begin(service, shell, "--payload 1000 --delay 0 --burstcount 10");
    hosts.cut();
    shell.letRun(Milliseconds(1300));
    hosts.mend();
    shell.waitForLine("#### big latency detected: *");
    shell.write("stopZID 5");
    EXPECT_GT(Report::readFrom(shell, "ZID stats(inst=5, *").maximalLatency, 1000U);
    leave(shell);
    EXPECT_EQ(shell.output().count("ZidClient(5): disconnected*") + shell.output().count("timeout*"), 0U);
}

TEST_F(TwoHostsTest, CutLongerThanTheLeaseEndsTheTestAndTheNextOneWorks) {
    Program service = serve(5);
    Program shell = start(TwoHosts::West, {});
    shell.write("setTimeout 5000");
    begin(service, shell, "--delay 0");
    hosts.cut();
    shell.waitForLine("ZidClient(5): disconnected -> test finished");
    service.waitForLine("ZidService(5): disconnected -> test finished");
    shell.waitForLine("timeout for waiting for response received, timer = 5000[msec]");
    shell.waitForLine("unable to trigger script /yst/bin/zidtimeout.sh");
    shell.write("stopZID 5");
    Report::readFrom(shell, "ZID stats(inst=5, *");
    hosts.mend();
    runTest(shell, 5);
    leave(shell);
}

TEST_F(TwoHostsTest, KilledServiceIsReplacedBeforeItsLeaseHasRunOut) {
    Program shell = start(TwoHosts::West, {});
    {
        Program killed = serve(5);
        begin(killed, shell, "--delay 0 --burstcount 99 --payload 1000");
        killed.kill();
    }
    Program service = serve(5);
    shell.waitForLine("ZidClient(5): disconnected -> test finished", Milliseconds(2500));
    shell.write("stopZID 5");
    Report::readFrom(shell, "ZID stats(inst=5, *");
    runTest(shell, 5);
    leave(shell);
}

TEST_F(TwoHostsTest, SecondServiceOfAnInstanceIsRefusedOnceTheFirstIsKnown) {
    Program service = serve(5);
    Program shell = start(TwoHosts::West, {});
    runTest(shell, 5);
    shell.write("startService 5");
    const std::string error = shell.waitForError("ZidService(5)  ERROR: registering service, reason= *");
    EXPECT_NE(error.find("/5 is registered by process " + std::to_string(service.id()) + " on "), std::string::npos);
}

TEST_F(EndToEndTest, InterfaceThatDoesNotExistFailsTheStart) {
    configure("bad", "transport = \"dds\"\ninterface = \"nosuch0\"\n");
    Program program({"-n", "bad"});
    EXPECT_EQ(program.waitForExit(), 255);
    EXPECT_EQ(program.output().text(),
              "could not start COMM Agent: Cyclone DDS cannot start: nosuch0: does not match an "
              "available interface.\n");
}

}  // namespace
