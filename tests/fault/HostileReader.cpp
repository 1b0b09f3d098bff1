#include "HostileReader.h"

#include <poll.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <thread>

#include "Greeting.h"
#include "Spoil.h"
#include "TestService.h"

using namespace comm::transport;

namespace {

constexpr int Patience = 1000 * static_cast<int>(Watchdog.count());

bool waitFor(const FileDescriptor& file) {
    pollfd readable{file.get(), POLLIN, 0};
    return ::poll(&readable, 1, Patience) <= 0;
}

}  // namespace

HostileReader::HostileReader(std::uint32_t instance, unsigned seed)
    : m_dice(seed), m_identity(TestIdentity(instance).args()) {}

std::vector<std::string> HostileReader::behaviours() {
    return {"a closed door", "an idle reader",    "false positions", "false flags",
            "a flood",       "a spoilt doorbell", "half an end",     "a mad reader"};
}

bool HostileReader::run(const std::string& behaviour) {
    if (m_directory.open() || listen()) return true;
    std::cout << "ok" << std::endl;
    const bool failed = welcome();
    if (!failed && behaviour != "a closed door") deceive(behaviour);
    m_directory.remove(m_identity.fileName);
    return failed;
}

bool HostileReader::listen() {
    const std::string unfinished = m_identity.fileName + ".trap";
    const sockaddr_un address = m_directory.address(unfinished);
    m_listening = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return ::bind(m_listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
           ::listen(m_listening.get(), 1) != 0 ||
           ::renameat(m_directory.fd(), unfinished.c_str(), m_directory.fd(), m_identity.fileName.c_str()) != 0;
}

bool HostileReader::welcome() {
    if (waitFor(m_listening)) return true;
    m_socket = FileDescriptor(::accept4(m_listening.get(), nullptr, nullptr, SOCK_CLOEXEC));
    Greeting greeting;
    const char* fault = nullptr;
    if (waitFor(m_socket) || greeting.receive(m_socket.get(), fault) != Greeting::Result::Complete) return true;
    RingMemory own;
    if (m_memory.adopt(greeting.memory) != nullptr || own.adopt(greeting.memory) != nullptr) return true;
    m_bell = std::move(greeting.doorbell);
    m_reader.emplace(std::move(own));
    return false;
}

void HostileReader::deceive(const std::string& behaviour) {
    const bool mad = behaviour == "a mad reader";
    RingControl& control = m_memory.control();
    const std::array<char, 4096> bytes{};
    for (unsigned round = m_dice.between(100, 1000); round > 0; --round) {
        if (mad || m_dice.oneIn(4)) (void)m_reader->read(*this);
        if (mad || behaviour == "false positions")
            control.head.store({m_dice.oneIn(3) ? static_cast<std::uint32_t>(m_dice.bits()) : 8 * m_dice.upTo(2 << 20),
                                m_dice.upTo(3)});
        if (mad || behaviour == "false flags") {
            control.readerSleeps.store(m_dice.upTo(3));
            control.writerWaits.store(m_dice.upTo(3));
        }
        if (mad || behaviour == "a spoilt doorbell") {
            spoil(m_bell.get());
            control.readerSleeps.store(1);
        }
        if (behaviour == "half an end") (void)::shutdown(m_socket.get(), m_dice.oneIn(2) ? SHUT_WR : SHUT_RD);
        if (mad || behaviour == "a flood")
            (void)::send(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        std::this_thread::sleep_for(std::chrono::microseconds(m_dice.upTo(100)));
    }
}
