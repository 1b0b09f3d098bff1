#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <streambuf>

#include "Connection.h"
#include "Greeting.h"
#include "Input.h"
#include "Traffic.h"
#include "ipl/iostream.h"

namespace comm::transport {
namespace {

int sealed(off_t size, int seals) {
    const int fd = ::memfd_create("fuzz", MFD_ALLOW_SEALING);
    require(::ftruncate(fd, size) == 0 && ::fcntl(fd, F_ADD_SEALS, seals) == 0, "no memory");
    return fd;
}

// What can be sent in place of a memory or a doorbell.
const std::array<int, 8>& wrongThings() {
    static constexpr off_t RingSize = 4096 + off_t{RingMemory::Capacity};
    static const std::array<int, 8> fds{::open("/dev/null", O_RDWR),
                                        ::open("/proc/self/exe", O_RDONLY),
                                        sealed(RingSize, 0),
                                        sealed(RingSize, F_SEAL_SHRINK | F_SEAL_GROW),
                                        sealed(RingSize - 4096, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL),
                                        ::socket(AF_UNIX, SOCK_STREAM, 0),
                                        ::epoll_create1(0),
                                        ::timerfd_create(CLOCK_MONOTONIC, 0)};
    return fds;
}

// Swallows what the tested code says, and counts the lines.
class LineCounter final : public std::streambuf {
  public:
    int lines = 0;

  protected:
    int_type overflow(int_type c) override {
        lines += c == '\n' ? 1 : 0;
        return traits_type::not_eof(c);
    }
};

const Identity& identity() {
    static const InstanceKey key{ipl::UUID(1, 2, 3, 4, 5, 6, 7, 8, 9, 10), 7};
    static const ipl::UUID interface(11, 12, 13, 14, 15, 16, 17, 18, 19, 20);
    static const Identity identity(TrackedBase::IdentityArgs{key, interface, "fuzz.Interface"});
    return identity;
}

// The input plays the peer of a connection, from its first byte to its end.
class HostilePeer final : private ListenerEvents {
  public:
    explicit HostilePeer(Input& input) : ListenerEvents(std::make_shared<CallbackTurn>()), m_input(input) {
        int ends[2];
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) == 0, "no sockets");
        m_socket = FileDescriptor(ends[0]);
        require(!m_epoll.open() && !m_epoll.set(ends[1], Socket, EPOLLIN | EPOLLRDHUP), "no epoll");
        ListenerEvents& events = *this;
        m_connection.emplace(FileDescriptor(ends[1]), "peer", identity(), events, m_warnings);
        ipl::cerr.rdbuf(&m_lines);
    }

    void run() {
        while (!m_input.empty() && !m_over) {
            const std::uint8_t action = m_input.byte();
            act(action % 8);
            if (action / 8 % 2 == 0) round();
        }
        m_socket.reset();
        constexpr int Enough = 10;  // a ring full of records is read in parts
        for (int i = 0; i < Enough && !m_over; ++i) round();
        require(m_over, "a connection outlives its peer");
        require(turn().ended() || m_connected == m_disconnected, "connects and disconnects are no pairs");
        require(m_connected <= 1 && m_lines.lines <= 1, "something is told twice");
        m_connection->forgetDoorbell(m_epoll);
        m_connection.reset();
        m_ring.bell.ring();
        require(m_epoll.wait(0).empty(), "a forgotten doorbell rings");
    }

  private:
    enum Number : std::uint64_t { Socket = 5, Bell = 6 };

    void act(unsigned action) {
        switch (action) {
            case 0:
            case 1:
                return send();
            case 2:
                ::shutdown(m_socket.get(), m_input.byte() % 3);
                return;
            case 3:
                return turn().end();
            case 4:
                m_ring.control().tail = m_input.position();
                return;
            case 5:
                m_ring.control().writerWaits = m_input.byte();
                return;
            case 6:
                std::ranges::copy(m_input.take(m_input.byte()), m_ring.view.ring());
                return;
            default:
                m_over = m_over || (m_connection->isLeaving() && isOver(m_connection->giveUp()));
        }
    }

    // A greeting, or what the input has made of it, with up to three descriptors.
    void send() {
        std::array<std::uint8_t, 2 * sizeof(GreetingBody)> bytes{};
        const GreetingBody body(identity());
        std::memcpy(bytes.data(), &body, sizeof body);
        if (m_input.byte() % 4 == 0) bytes[m_input.byte() % bytes.size()] = m_input.byte();
        iovec part{bytes.data(), m_input.byte() % 4 == 0 ? m_input.byte() % bytes.size() : sizeof body};
        std::array<int, 3> fds{};
        const std::size_t count = m_input.oneOf(std::array<std::size_t, 8>{2, 2, 2, 2, 2, 0, 1, 3});
        for (std::size_t i = 0; i < fds.size(); ++i) fds[i] = thing(i);
        alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof fds)> control{};
        msghdr message{nullptr, 0, &part, 1, control.data(), CMSG_SPACE(count * sizeof(int)), 0};
        if (count == 0) message.msg_controllen = 0;
        if (cmsghdr* const header = CMSG_FIRSTHDR(&message)) {
            *header = {CMSG_LEN(count * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
            std::memcpy(CMSG_DATA(header), fds.data(), count * sizeof(int));
        }
        (void)::sendmsg(m_socket.get(), &message, MSG_NOSIGNAL | MSG_DONTWAIT);
    }

    // What is right at that place, or anything else.
    int thing(std::size_t place) {
        const std::uint8_t choice = m_input.byte();
        if (choice % 4 != 0) return place == 0 ? m_ring.file.get() : m_ring.bell.fd();
        return choice % 8 == 0 ? m_socket.get() : m_input.oneOf(wrongThings());
    }

    // As the dispatch thread does it.
    void round() {
        for (const epoll_event& event : m_epoll.wait(0))
            m_over =
                m_over || (event.data.u64 == Socket && isOver(m_connection->readSocket(m_epoll, event, Number::Bell)));
        m_over = m_over || isOver(m_connection->readRing());
        if (m_over) return;
        require(m_connection->fallAsleep() != m_connection->hasSomething(), "it sleeps over something");
        m_connection->wakeUp();
    }

    static bool isOver(Connection::Result result) { return result == Connection::Result::Over; }

    void connected() override { ++m_connected; }
    void received(const Message& message) override {
        require(m_connected == 1 && m_disconnected == 0, "a call comes without a connection");
        require(!message.data || message.data->size <= MaxArray, "an array is too long");
    }
    void disconnected() override { ++m_disconnected; }

    Input& m_input;
    const TestRing m_ring;
    LineCounter m_lines;
    Epoll m_epoll;
    FileDescriptor m_socket;
    Warnings m_warnings;
    std::optional<Connection> m_connection;
    int m_connected = 0;
    int m_disconnected = 0;
    bool m_over = false;
};

int lowestFreeDescriptor() {
    return FileDescriptor(::dup(0)).get();
}

}  // namespace
}  // namespace comm::transport

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    (void)comm::transport::wrongThings();
    const int before = comm::transport::lowestFreeDescriptor();
    Input input(data, size);
    comm::transport::HostilePeer(input).run();
    require(comm::transport::lowestFreeDescriptor() == before, "a descriptor is left open");
    return 0;
}
