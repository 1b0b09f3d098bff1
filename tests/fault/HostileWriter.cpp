#include "HostileWriter.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

#include "Greeting.h"
#include "RingWriter.h"
#include "RuntimeDirectory.h"
#include "Spoil.h"
#include "TestService.h"

using namespace comm::transport;

namespace {

constexpr int Patience = 1000 * static_cast<int>(Watchdog.count());
constexpr std::uint32_t Capacity = RingMemory::Capacity;

}  // namespace

HostileWriter::HostileWriter(std::uint32_t instance, unsigned seed, unsigned count)
    : m_dice(seed), m_count(count), m_identity(TestIdentity(instance).args()) {}

const std::vector<HostileWriter::Attack>& HostileWriter::table() {
    static const std::vector<Attack> attacks{
        {"silence", false, &HostileWriter::saysNothing},
        {"half a greeting", true, &HostileWriter::halfAGreeting},
        {"noise", true, &HostileWriter::noise},
        {"a quiet guest", false, &HostileWriter::quietGuest},
        {"talk on the socket", true, &HostileWriter::talksOnSocket},
        {"an impossible tail", true, &HostileWriter::impossibleTail},
        {"a corrupt record", true, &HostileWriter::corruptRecord},
        {"a record beyond the end", true, &HostileWriter::overlapsEnd},
        {"a circle", false, &HostileWriter::circles},
        {"half a long call", false, &HostileWriter::halfALongCall},
        {"a leaver who goes on", true, &HostileWriter::goesOnAfterLeaving},
        {"alarms", false, &HostileWriter::alarms},
        {"scribbles", false, &HostileWriter::scribbles},
        {"a crowd", false, &HostileWriter::crowd},
    };
    return attacks;
}

std::vector<std::string> HostileWriter::attacks() {
    std::vector<std::string> names;
    for (const Attack& attack : table())
        if (attack.run != &HostileWriter::crowd) names.emplace_back(attack.name);
    return names;
}

bool HostileWriter::run(const std::string& attack) {
    connect();
    for (const Attack& each : table()) {
        if (attack != each.name) continue;
        (this->*each.run)();
        return each.ends && waitForEnd();
    }
    return true;
}

void HostileWriter::connect() {
    RuntimeDirectory directory;
    (void)directory.open();
    const sockaddr_un address = directory.address(m_identity.fileName);
    m_socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    (void)::connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

void HostileWriter::greet() {
    FileDescriptor file;
    RingMemory memory;
    Doorbell bell;
    if (memory.create(file) || bell.create()) return;
    m_memory = std::move(memory);
    m_file = std::move(file);
    m_bell = std::move(bell);
    (void)Greeting::send(m_socket.get(), GreetingBody(m_identity), m_file.get(), m_bell.fd());
}

void HostileWriter::put(std::uint32_t at, const Record& record) {
    std::memcpy(m_memory.ring() + at, &record, sizeof record);
}

void HostileWriter::publish(std::uint32_t offset, std::uint32_t generation) {
    m_memory.control().tail.store({offset, generation});
    m_bell.ring();
}

bool HostileWriter::waitForHead(std::uint32_t head) const {
    for (const auto end = std::chrono::steady_clock::now() + Watchdog; std::chrono::steady_clock::now() < end;) {
        if (m_memory.control().head.load().offset == head) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// True if it does not end.
bool HostileWriter::waitForEnd() const {
    std::array<char, 256> bytes{};
    for (;;) {
        pollfd readable{m_socket.get(), POLLIN, 0};
        if (::poll(&readable, 1, Patience) <= 0) return true;
        if (::recv(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT) <= 0) return false;
    }
}

void HostileWriter::halfAGreeting() {
    const GreetingBody body(m_identity);
    (void)::send(m_socket.get(), &body, m_dice.between(1, sizeof body - 1), MSG_NOSIGNAL);
}

void HostileWriter::noise() {
    std::vector<std::uint64_t> words(m_dice.between(1, 1000));
    for (std::uint64_t& word : words) word = m_dice.bits();
    (void)::send(m_socket.get(), words.data(), words.size() * sizeof words[0], MSG_NOSIGNAL);
}

void HostileWriter::talksOnSocket() {
    greet();
    noise();
}

void HostileWriter::impossibleTail() {
    greet();
    const RingPosition tail = m_dice.oneOf<RingPosition>({{1, 0},
                                                          {12, 0},
                                                          {Capacity, 0},
                                                          {Capacity + 8, 0},
                                                          {0xfffffff8U, 0},
                                                          {12, 1},
                                                          {Capacity, 1},
                                                          {0, 2},
                                                          {8, 0xffffffffU}});
    publish(tail.offset, tail.generation);
}

void HostileWriter::corruptRecord() {
    greet();
    const std::vector<std::vector<Record>> wrong{
        {{0, 0, 0}},
        {{0, 0x1234, 0}},
        {{0, Record::Wrap, 0}},
        {{8, Record::Call, 0}},
        {{64, Record::CallWithArray, 0}},
        {{0xffffffffU, Record::CallWithArray, 0}},
        {{MaxPiece + 1, Record::CallWithArray, 0}},
        {{0, Record::Piece, 0}},
        {{8, Record::Piece, 0}, {}},
        {{MaxPiece, Record::LongCall, 0}},
        {{MaxArray + 1, Record::LongCall, 0}},
        {{0xffffffffU, Record::LongCall, 0}},
        {{1 << 20, Record::LongCall, 0}, {0, Record::Call, 0}},
        {{1 << 20, Record::LongCall, 0}, {1 << 20, Record::LongCall, 0}},
        {{1 << 20, Record::LongCall, 0}, {0, Record::Piece, 0}},
    };
    const std::vector<Record>& records = m_dice.oneOf(wrong);
    std::uint32_t at = 0;
    for (const Record& record : records) {
        put(at, record);
        at += sizeof record;
    }
    publish(at);
}

// An honest way to the end of the ring, and then a step too far.
void HostileWriter::overlapsEnd() {
    greet();
    constexpr std::uint32_t Length = MaxPiece - sizeof(Record);
    std::uint32_t at = 0;
    for (; at + 2 * recordSize(Length) <= Capacity; at += recordSize(Length)) {
        put(at, {Length, Record::CallWithArray, 0});
        publish(at + recordSize(Length));
        if (waitForHead(at + recordSize(Length))) return;
    }
    put(at, {m_dice.oneIn(2) ? Length : Length - 7, Record::CallWithArray, 0});
    publish(0);
}

// The reader is sent back to the beginning again and again, in every way that there is.
void HostileWriter::circles() {
    greet();
    constexpr std::uint32_t Length = 64;
    std::uint32_t generation = 0;
    for (unsigned round = 0; round < 2000; ++round) {
        put(0, {Length, Record::CallWithArray, 0});
        put(recordSize(Length), {0, Record::Wrap, 0});
        publish(recordSize(Length), generation);
        if (m_dice.oneIn(4)) std::this_thread::yield();
        if (m_dice.oneIn(200)) ++generation;
        publish(0, generation);
    }
}

void HostileWriter::halfALongCall() {
    greet();
    std::uint32_t at = sizeof(Record);
    put(0, {1 << 20, Record::LongCall, 0});
    for (unsigned pieces = m_dice.upTo(15); pieces > 0; --pieces) {
        put(at, {MaxPiece, Record::Piece, 0});
        at += recordSize(MaxPiece);
    }
    publish(at);
    (void)::shutdown(m_socket.get(), m_dice.oneIn(2) ? SHUT_WR : SHUT_RDWR);
}

// Says that only what waits is to come, and never comes to its end.
void HostileWriter::goesOnAfterLeaving() {
    greet();
    (void)::shutdown(m_socket.get(), SHUT_WR);
    RingWriter writer(std::move(m_memory), std::move(m_bell));
    const util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(MaxPiece);
    for (pollfd end{m_socket.get(), 0, 0}; ::poll(&end, 1, 0) == 0;) {
        Outgoing call(comm::Message{array, 0});
        if (writer.write(call) == RingWriter::Result::Full) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

// Rings for nothing, perhaps with a doorbell that blocks, and demands words about room that it does not read.
void HostileWriter::alarms() {
    greet();
    if (m_dice.oneIn(2)) spoil(m_bell.fd());
    RingControl& control = m_memory.control();
    std::uint32_t at = 0;
    for (unsigned round = 0; round < 3000; ++round, at = (at + sizeof(Record)) % (Capacity / 2)) {
        control.writerWaits.store(static_cast<std::uint32_t>(m_dice.bits()));
        control.readerSleeps.store(m_dice.upTo(2));
        put(at, {0, Record::Call, 0});
        publish(at + sizeof(Record));
        m_bell.ring();
    }
}

// Whatever lies at a multiple of a record's alignment begins with a handle size of 0.
void HostileWriter::scribbles() {
    greet();
    RingMemory other;
    if (other.adopt(m_file) != nullptr) return;
    std::atomic<bool> ended{false};
    std::thread scribbler([&] {
        Dice dice(m_dice.bits());
        for (unsigned round = 0; round < 3000 && !ended; ++round) {
            const auto word = static_cast<std::uint64_t>(Record::Wrap + dice.upTo(5)) << 32U | dice.upTo(200000);
            const std::size_t at = sizeof word * dice.upTo(4000);
            std::memcpy(other.ring() + at, &word, sizeof word);
            RingControl& control = other.control();
            const RingPosition position{8 * dice.upTo(dice.oneIn(8) ? ~0U : 4000), dice.upTo(2)};
            if (dice.oneIn(100)) (dice.oneIn(2) ? control.tail : control.head).store(position);
            if (dice.oneIn(50)) (dice.oneIn(2) ? control.readerSleeps : control.writerWaits).store(dice.upTo(3));
            std::this_thread::sleep_for(std::chrono::microseconds(dice.upTo(40)));
        }
    });
    RingWriter writer(std::move(m_memory), std::move(m_bell));
    const util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(3 << 20);
    for (unsigned i = 0; i < 3000; ++i) {
        array->size = m_dice.oneIn(50) ? 3 << 20 : m_dice.upTo(3000);
        Outgoing call(comm::Message{array, 0});
        if (writer.write(call) == RingWriter::Result::Broken) break;
    }
    ended = true;
    scribbler.join();
}

// More connections than the service may be able to have.
void HostileWriter::crowd() {
    for (unsigned i = 0; i < m_count; ++i) {
        greet();
        m_others.push_back(std::move(m_socket));
        connect();
    }
}
