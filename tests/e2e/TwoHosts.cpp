#include "TwoHosts.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>

TwoHosts::TwoHosts() {
    for (const Host host : {East, West})
        if (m_obstacle.empty()) keep(host);
    if (m_obstacle.empty()) connect();
}

// A process of its own is in the namespace from the start and never does anything.
void TwoHosts::keep(Host host) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    m_keepers[host] = ::fork();
    if (m_keepers[host] == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int error = ::unshare(CLONE_NEWNET) == 0 ? 0 : errno;
        (void)!::write(ends[1], &error, sizeof error);
        for (;;) ::pause();
    }
    int error = ECHILD;
    (void)!::read(ends[0], &error, sizeof error);
    for (const int end : ends) ::close(end);
    if (error != 0) m_obstacle = std::string("no network namespace: ") + std::strerror(error);
}

void TwoHosts::connect() {
    const std::string east = std::to_string(m_keepers[East]);
    const std::string west = std::to_string(m_keepers[West]);
    const std::string link = "zb" + east;
    // Between its making and its move the pair is in the tests' own namespace, so its names are nobody else's.
    if (!run("ip link add " + link + "e netns " + east + " type veth peer name " + link + "w netns " + west)) {
        m_obstacle = "no pair of virtual interfaces (see ip link add type veth)";
        return;
    }
    for (const Host host : {East, West}) {
        const std::string name = link + (host == East ? 'e' : 'w');
        EXPECT_TRUE(runOn(host, "ip link set lo up"));
        EXPECT_TRUE(runOn(host, "ip link set " + name + " name wire"));
        EXPECT_TRUE(runOn(host, std::string("ip addr add ") + address(host) + "/24 dev wire"));
        EXPECT_TRUE(runOn(host, "ip link set wire up"));
    }
}

TwoHosts::~TwoHosts() {
    for (const pid_t keeper : m_keepers) {
        if (keeper <= 0) continue;
        ::kill(keeper, SIGKILL);
        ::waitpid(keeper, nullptr, 0);
    }
}

std::vector<std::string> TwoHosts::on(Host host, const std::string& runtimeDirectory, const std::string& program,
                                      const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{"--target", std::to_string(m_keepers[host]),       "--net",
                                   "env",      "XDG_RUNTIME_DIR=" + runtimeDirectory, program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

// One end's going down is not told at the other one, which sees nothing but silence.
void TwoHosts::cut() const {
    EXPECT_TRUE(runOn(East, "ip link set wire down"));
}

void TwoHosts::mend() const {
    EXPECT_TRUE(runOn(East, "ip link set wire up"));
}

void TwoHosts::takeMulticast() const {
    for (const Host host : {East, West}) EXPECT_TRUE(runOn(host, "ip link set wire multicast off"));
}

bool TwoHosts::spoil(const std::string& how) const {
    return runOn(East, "tc qdisc add dev wire root netem " + how) &&
           runOn(West, "tc qdisc add dev wire root netem " + how);
}

bool TwoHosts::run(const std::string& command) {
    return std::system((command + " 2>/dev/null").c_str()) == 0;
}

bool TwoHosts::runOn(Host host, const std::string& command) const {
    return run(std::string(Runner) + " --target " + std::to_string(m_keepers[host]) + " --net " + command);
}
