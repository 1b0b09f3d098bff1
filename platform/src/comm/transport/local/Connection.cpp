#include "Connection.h"

#include <sys/socket.h>

#include "Greeting.h"
#include "ipl/ErrorStorage.h"

namespace comm::transport {

Connection::Result Connection::readSocket(Epoll& epoll, const epoll_event& event, std::uint64_t doorbellNumber) {
    if (m_state == State::Gone) return Result::Nothing;
    if (m_state == State::New) {
        const Result result = greet(epoll, doorbellNumber);
        if (result != Result::Done || (event.events & EPOLLRDHUP) == 0) return result;
    }
    char byte = 0;
    const ssize_t count = ::recv(m_socket.get(), &byte, sizeof byte, MSG_DONTWAIT);
    if (count > 0) return over("it sent something that is no message");
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Result::Nothing;
    return leave(epoll, event);
}

// A peer that closes its connection while calls wait on its side ends only its own direction of the socket, and all of
// it when they are written. What it writes after that is not looked at.
Connection::Result Connection::leave(Epoll& epoll, const epoll_event& event) {
    if ((event.events & (EPOLLHUP | EPOLLERR)) != 0) {
        m_state = State::Gone;
        m_reader->readOnlyWhatIsThere();
        epoll.remove(m_socket.get());
        return readRing();
    }
    m_state = State::Leaving;
    if (epoll.set(m_socket.get(), event.data.u64, 0)) ipl::ErrorStorage::ack();  // it is watched already
    return Result::Done;
}

// The end of a socket is reported as long as it is watched at all, whatever for.
void Connection::watch(Epoll& epoll, std::uint64_t number, bool wanted) const {
    if (!wanted)
        epoll.remove(m_socket.get());
    else if (epoll.set(m_socket.get(), number, Events))
        ipl::ErrorStorage::ack();  // the end of the next shortage is another chance
}

Connection::Result Connection::greet(Epoll& epoll, std::uint64_t doorbellNumber) {
    Greeting greeting;
    const char* fault = nullptr;
    switch (greeting.receive(m_socket.get(), fault)) {
        case Greeting::Result::NotYet:
            return Result::Nothing;
        case Greeting::Result::Short:
            return Result::Short;
        case Greeting::Result::Ended:
            return over(nullptr);
        case Greeting::Result::Wrong:
            return over(fault);
        case Greeting::Result::Complete:
            break;
    }
    if (greeting.body != GreetingBody(m_identity)) return over("it means another service");
    RingMemory memory;
    fault = memory.adopt(greeting.memory);
    if (fault == nullptr) fault = m_doorbell.adopt(std::move(greeting.doorbell));
    if (fault != nullptr) return over(fault);
    if (epoll.set(m_doorbell.fd(), doorbellNumber, Doorbell::Events)) {
        ipl::ErrorStorage::ack();
        return over("its doorbell cannot be watched");
    }
    m_reader.emplace(std::move(memory));
    if (m_othersWait && hasGoneUnheard()) return Result::Over;
    m_state = State::Open;
    m_events.connected();
    return Result::Done;
}

bool Connection::hasGoneUnheard() const {
    char byte = 0;
    return !m_reader->hasSomething() && ::recv(m_socket.get(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) == 0;
}

Connection::Result Connection::readRing() {
    if (!m_reader) return Result::Nothing;
    switch (m_reader->read(*this)) {
        case RingReader::Result::Empty:
            if (m_state != State::Gone) return Result::Nothing;
            return over(m_reader->inTheMiddle() ? "it ended in the middle of a message" : nullptr);
        case RingReader::Result::Read:
            break;
        case RingReader::Result::Stopped:
            return Result::Over;
        case RingReader::Result::Broken:
            return over(m_reader->fault());
    }
    if (m_afterLeaving > MostAfterLeaving) return over("it goes on although it has left");
    // A byte tells the peer that there is room again. Where the socket takes none, it is full of them.
    if (m_reader->writerWaits()) (void)::send(m_socket.get(), "", 1, MSG_DONTWAIT | MSG_NOSIGNAL);
    return Result::Done;
}

bool Connection::received(const Message& message) {
    if (m_state == State::Leaving) m_afterLeaving += sizeof(Message) + (message.data ? message.data->size : 0);
    m_events.received(message);
    return m_events.turn().ended();
}

Connection::Result Connection::over(const char* fault) {
    if (fault != nullptr)
        m_warnings.write(fault + m_identity.display,
                         "connection of " + m_peer + " to " + m_identity.display + " ended: " + fault, "over",
                         "comm/transport/local/Connection");
    if (m_state != State::New && !m_events.turn().ended()) m_events.disconnected();
    return Result::Over;
}

}  // namespace comm::transport
