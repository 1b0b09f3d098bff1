#include "Connection.h"

#include <sys/socket.h>

#include "Greeting.h"
#include "ipl/ErrorStorage.h"
#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {

Connection::Result Connection::readSocket(Epoll& epoll, std::uint64_t doorbellNumber) {
    if (!m_reader) return greet(epoll, doorbellNumber);
    char byte = 0;
    const ssize_t count = ::recv(m_socket.get(), &byte, sizeof byte, MSG_DONTWAIT);
    if (count > 0) return over("it sent something that is no message");
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Result::Nothing;
    return readToTheEnd();
}

Connection::Result Connection::greet(Epoll& epoll, std::uint64_t doorbellNumber) {
    Greeting greeting;
    const char* fault = nullptr;
    switch (greeting.receive(m_socket.get(), fault)) {
        case Greeting::Result::NotYet:
            return Result::Nothing;
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
    if (epoll.set(m_doorbell.fd(), doorbellNumber, EPOLLIN | static_cast<std::uint32_t>(EPOLLET))) {
        ipl::ErrorStorage::ack();
        return over("its doorbell cannot be watched");
    }
    m_reader.emplace(std::move(memory));
    m_events.connected();
    return m_closing ? Result::Over : Result::Done;
}

Connection::Result Connection::readRing() {
    if (!m_reader) return Result::Nothing;
    switch (m_reader->read(*this)) {
        case RingReader::Result::Empty:
            return Result::Nothing;
        case RingReader::Result::Read:
            break;
        case RingReader::Result::Stopped:
            return Result::Over;
        case RingReader::Result::Broken:
            return over(m_reader->fault());
    }
    // A byte tells the peer that there is room again. Where the socket takes none, it is full of them.
    if (m_reader->writerWaits()) (void)::send(m_socket.get(), "", 1, MSG_DONTWAIT | MSG_NOSIGNAL);
    return Result::Done;
}

// The peer writes no more, so one more round reads all that it has written.
Connection::Result Connection::readToTheEnd() {
    if (readRing() == Result::Over) return Result::Over;
    return over(m_reader->inTheMiddle() ? "it ended in the middle of a message" : nullptr);
}

bool Connection::received(const Message& message) {
    m_events.received(message);
    return m_closing;
}

Connection::Result Connection::over(const char* fault) {
    if (fault != nullptr) {
        const ipl::string text = "connection of " + m_peer + " to " + m_identity.display + " ended: " + fault;
        ipl::GlobalErrorHandler::doWarning(text.c_str(), "process", "comm/transport/local/Connection");
    }
    if (m_reader && !m_closing) m_events.disconnected();
    return Result::Over;
}

}  // namespace comm::transport
