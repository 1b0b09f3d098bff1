// Ends, stops, starves and deceives processes that talk through the transport, and checks that the others get every
// byte.
//
//   fault_suite [--seconds S] [--seed N] [--verbose]
//
// The seed repeats the sequence of steps. Exit status 0: nothing found; 1: a finding; 2: a wrong command line.
#include <charconv>
#include <csignal>
#include <iostream>
#include <random>
#include <vector>

#include "Driver.h"
#include "HostileReader.h"
#include "HostileWriter.h"
#include "Racer.h"
#include "Worker.h"
#include "comm/AgentStartStatus.h"
#include "comm/AgentStarter.h"

namespace {

using Arguments = std::vector<std::string>;

// True if it is none.
bool parse(const std::string& text, std::uint64_t& number) {
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec != std::errc() || result.ptr != end;
}

std::uint32_t number(const Arguments& arguments, std::size_t index) {
    std::uint64_t number = 0;
    return parse(arguments.at(index), number) ? 0 : static_cast<std::uint32_t>(number);
}

int work(const Arguments& arguments) {
    comm::AgentStarter starter("testclient", "local");
    comm::AgentStartStatus status;
    starter.start(&status, true);
    if (status.waitUntilStarted(10000) != comm::AgentStartStatus::Started) return 1;
    return Worker(number(arguments, 1), number(arguments, 2)).run();
}

int attack(const Arguments& arguments) {
    HostileWriter hostile(number(arguments, 2), number(arguments, 3), number(arguments, 4));
    if (hostile.run(arguments.at(1))) return 1;
    std::cout << "ok" << std::endl;
    std::string word;
    std::getline(std::cin, word);
    return 0;
}

int trap(const Arguments& arguments) {
    HostileReader hostile(number(arguments, 2), number(arguments, 3));
    return hostile.run(arguments.at(1)) ? 1 : 0;
}

int race(const Arguments& arguments) {
    return Racer(number(arguments, 1), number(arguments, 2)).run() ? 1 : 0;
}

int usage() {
    std::cerr << "usage: fault_suite [--seconds S] [--seed N] [--verbose]\n";
    return 2;
}

int drive(const Arguments& arguments) {
    std::uint64_t seconds = 20;
    std::uint64_t seed = std::random_device()();
    bool verbose = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (arguments[i] == "--verbose") {
            verbose = true;
            continue;
        }
        if ((arguments[i] != "--seed" && arguments[i] != "--seconds") || i + 1 == arguments.size()) return usage();
        std::uint64_t& value = arguments[i] == "--seed" ? seed : seconds;
        if (parse(arguments[++i], value)) return usage();
    }
    Driver(seed, verbose).run(std::chrono::seconds(seconds));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const Arguments arguments(argv + 1, argv + argc);
    const std::string role = arguments.empty() ? "" : arguments.front();
    std::signal(SIGPIPE, SIG_IGN);
    if (role == "worker") return work(arguments);
    if (role == "attack") return attack(arguments);
    if (role == "trap") return trap(arguments);
    if (role == "race") return race(arguments);
    return drive(arguments);
}
