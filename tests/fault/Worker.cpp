#include "Worker.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <thread>

#include "Dice.h"
#include "Leftovers.h"
#include "ipl/ErrorStorage.h"

namespace {

using Milliseconds = std::chrono::milliseconds;

template <class Number = std::uint32_t>
Number take(std::istringstream& words) {
    Number number = 0;
    words >> number;
    return number;
}

std::uint32_t sizeOf(unsigned kind, unsigned number, Dice& dice) {
    constexpr std::uint32_t KiB = 1024;
    switch (kind) {
        case 0:
            return dice.upTo(200);
        case 1:
            return dice.between(64 * KiB - 100, 64 * KiB + 100);
        case 2:
            return dice.oneIn(2) ? 1024 * KiB : 3072 * KiB;
        case 3:  // nearly a ring full, and then so little at a time that every way to end a lap comes about
            return number < 250 ? 64 * KiB - 16 : dice.upTo(25);
        default:
            return dice.upTo(dice.oneIn(8) ? 3072 * KiB : 100 * KiB);
    }
}

unsigned long long addressesInUse() {
    unsigned long long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<unsigned long long>(::sysconf(_SC_PAGESIZE));
}

// The limit below which so many descriptors are free.
rlim_t descriptorsWith(unsigned long long free) {
    rlim_t limit = 0;
    for (unsigned long long found = 0; found < free || ::fcntl(static_cast<int>(limit), F_GETFD) >= 0; ++limit)
        found += ::fcntl(static_cast<int>(limit), F_GETFD) < 0 ? 1 : 0;
    return limit;
}

std::chrono::microseconds processorTime() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

}  // namespace

Worker::Worker(std::uint32_t id, std::uint32_t instance) : m_id(id), m_instance(instance) {}

int Worker::run() {
    const bool ready = !begin();
    std::cout << (ready ? "ok" : "fault " + ipl::ErrorStorage::reasonText()) << std::endl;
    for (std::string line; ready && std::getline(std::cin, line) && line != "end";) {
        std::istringstream words(line);
        std::cout << obey(words) << std::endl;
    }
    m_senders.clear();
    const bool failed = !ready || m_registration.unregisterService();
    m_replies.clear();
    return failed ? 1 : 0;
}

// The descriptors of an idle worker are counted where nobody knows it yet.
bool Worker::begin() {
    if (enlist(privateInstance(m_id))) return true;
    m_idleDescriptors = Leftovers::descriptors();
    return m_instance != privateInstance(m_id) && (m_registration.unregisterService() || enlist(m_instance));
}

bool Worker::enlist(std::uint32_t instance) {
    m_receiver = new Receiver(instance, [this](const StreamHeader& question) { answer(question); });
    m_registration = comm::ServiceRegistration(m_receiver);
    return m_registration.registerService();
}

std::string Worker::obey(std::istringstream& words) {
    static const std::map<std::string, std::string (Worker::*)(std::istringstream&)> commands{
        {"connect", &Worker::connect}, {"disconnect", &Worker::disconnect},
        {"send", &Worker::send},       {"rally", &Worker::rally},
        {"settle", &Worker::settle},   {"await", &Worker::await},
        {"peak", &Worker::peak},       {"limit", &Worker::limit},
        {"replace", &Worker::replace}, {"forget", &Worker::forget},
        {"idle", &Worker::idle},       {"rest", &Worker::rest},
    };
    std::string name;
    words >> name;
    return (this->*commands.at(name))(words);
}

std::string Worker::fault(const std::string& text) const {
    return "fault " + text + " (" + m_receiver->state() + ')';
}

std::string Worker::connect(std::istringstream& words) {
    const auto instance = take(words);
    auto& sender = m_senders[instance] = std::make_unique<Sender>(m_id, m_connections, instance);
    if (sender->connect()) return fault("no connection: " + ipl::ErrorStorage::reasonText());
    return "up " + std::to_string(instance) + ' ' + std::to_string(sender->connection());
}

std::string Worker::disconnect(std::istringstream& words) {
    const auto sender = m_senders.extract(take(words));
    const std::string connection = std::to_string(sender.mapped()->connection());
    return "ok " + connection + ' ' + std::to_string(sender.mapped()->count());
}

std::string Worker::send(std::istringstream& words) {
    Sender& sender = *m_senders.at(take(words));
    const auto count = take(words);
    const auto kind = take(words);
    Dice dice(take(words));
    for (unsigned i = 0; i < count; ++i) sender.send(sizeOf(kind, i, dice));
    return "ok";
}

// Pauses of about the time in which a reader falls asleep.
std::string Worker::rally(std::istringstream& words) {
    const auto instance = take(words);
    Sender& sender = *m_senders.at(instance);
    const auto count = take(words);
    Dice dice(take(words));
    const auto expected = take(words);
    for (unsigned i = 0; i < count; ++i) {
        if (i != 0) std::this_thread::sleep_for(std::chrono::microseconds(dice.upTo(3) * dice.upTo(100)));
        if (roundTrip(sender, expected)) {
            const bool lost = expected != 0 && sender.connection() != expected;
            const std::string what = lost ? "no connection any more to " : "no answer from ";
            return fault(what + std::to_string(instance));
        }
    }
    return "up " + std::to_string(instance) + ' ' + std::to_string(sender.connection());
}

// True on failure. What was asked through a connection that has ended is asked again through its successor, unless that
// one connection is `expected`.
bool Worker::roundTrip(Sender& sender, std::uint32_t expected) {
    ++m_token;
    std::uint32_t asked = 0;
    for (const auto end = std::chrono::steady_clock::now() + Watchdog; std::chrono::steady_clock::now() < end;) {
        const std::uint32_t connection = sender.connection();
        if (expected != 0 && connection != expected) return true;
        if (connection != asked) sender.send(sizeof(StreamHeader), m_instance, m_token);
        asked = connection;
        if (m_receiver->waitForAnswer(m_token, Milliseconds(20))) return false;
    }
    return true;
}

void Worker::answer(const StreamHeader& question) {
    const std::scoped_lock lock(m_repliesMutex);
    auto& sender = m_replies[question.replyTo];
    if (sender == nullptr) {
        sender = std::make_unique<Sender>(m_id, m_connections, question.replyTo);
        if (sender->connect()) std::fprintf(stderr, "no way back: %s\n", ipl::ErrorStorage::reasonText().c_str());
    }
    sender->send(sizeof(StreamHeader), 0, question.token);
}

std::string Worker::settle(std::istringstream& words) {
    const auto live = take(words);
    if (!m_receiver->waitForLive(live)) return fault("not " + std::to_string(live) + " connections");
    return "ok " + m_receiver->figures();
}

std::string Worker::await(std::istringstream& words) {
    const auto connection = take(words);
    const auto count = take(words);
    if (m_receiver->waitForStream(connection, count)) return "ok";
    return "fault not all " + std::to_string(count) + " messages: " + m_receiver->state(connection);
}

std::string Worker::peak(std::istringstream& words) {
    const auto most = take<std::size_t>(words);
    const std::size_t peak = m_receiver->peak();
    return peak <= most
               ? "ok"
               : fault(std::to_string(peak) + " connections at a time where " + std::to_string(most) + " are right");
}

// Lets the process have so many more descriptors, or MiB more of addresses, or again as many as it likes.
std::string Worker::limit(std::istringstream& words) {
    std::string what;
    words >> what;
    const auto resource = what == "descriptors" ? RLIMIT_NOFILE : RLIMIT_AS;
    rlimit limit{};
    ::getrlimit(resource, &limit);
    unsigned long long more = 0;
    limit.rlim_cur = limit.rlim_max;
    if (words >> more)
        limit.rlim_cur = what == "descriptors" ? descriptorsWith(more) : addressesInUse() + (more << 20U);
    return ::setrlimit(resource, &limit) == 0 ? "ok" : fault("setrlimit");
}

// Registers where a killed process may have left something, and withdraws again.
std::string Worker::replace(std::istringstream& words) {
    comm::ServiceRegistration registration(new Receiver(take(words), [](const StreamHeader&) {}));
    const bool failed = registration.registerService() || registration.unregisterService();
    return failed ? fault(ipl::ErrorStorage::reasonText()) : "ok";
}

std::string Worker::forget(std::istringstream& /*words*/) {
    const std::scoped_lock lock(m_repliesMutex);
    m_replies.clear();
    return "ok";
}

// A sanitizer opens some descriptors for a moment, perhaps just when those of the idle worker were counted.
std::string Worker::idle(std::istringstream& /*words*/) {
    for (const auto end = std::chrono::steady_clock::now() + Watchdog; std::chrono::steady_clock::now() < end;) {
        if (Leftovers::descriptors() <= m_idleDescriptors && Leftovers::mappedRings() == 0) return "ok";
        std::this_thread::sleep_for(Milliseconds(5));
    }
    return fault(std::to_string(Leftovers::descriptors()) + " descriptors where an idle worker has " +
                 std::to_string(m_idleDescriptors) + " and " + std::to_string(Leftovers::mappedRings()) + " rings");
}

// Nothing goes on in it for a while.
std::string Worker::rest(std::istringstream& /*words*/) {
    constexpr Milliseconds While(60);
    for (const auto end = std::chrono::steady_clock::now() + Watchdog; std::chrono::steady_clock::now() < end;) {
        const auto before = processorTime();
        std::this_thread::sleep_for(While);
        if (processorTime() - before < While / 4) return "ok";
    }
    return fault("it does not come to rest");
}
