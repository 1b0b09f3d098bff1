#include "Connection.h"

#include "ipl/GlobalErrorHandler.h"

namespace comm::transport {

bool Connection::process(bool toTheEnd) {
    for (;;) {
        switch (m_reader.read(m_socket.get(), *this)) {
            case FrameReader::Result::MoreToCome:
                if (!toTheEnd) return false;
                break;
            case FrameReader::Result::Ended:
                return over(nullptr);
            case FrameReader::Result::Broken:
                return over(m_reader.fault());
            case FrameReader::Result::Stopped:
                return over(m_refusal);
        }
    }
}

bool Connection::greeted(const GreetingBody& greeting) {
    if (m_greeted)
        m_refusal = "it greeted twice";
    else if (greeting != GreetingBody(m_identity))
        m_refusal = "it speaks another protocol or means another service";
    if (m_refusal != nullptr) return true;
    m_greeted = true;
    m_events.connected();
    return m_closing;
}

bool Connection::received(const Message& message) {
    if (!m_greeted) {
        m_refusal = "it did not greet";
        return true;
    }
    m_events.received(message);
    return m_closing;
}

bool Connection::over(const char* fault) {
    if (fault != nullptr) {
        const ipl::string text = "connection of " + m_peer + " to " + m_identity.display + " ended: " + fault;
        ipl::GlobalErrorHandler::doWarning(text.c_str(), "process", "comm/transport/local/Connection");
    }
    if (m_greeted && !m_closing) m_events.disconnected();
    return true;
}

}  // namespace comm::transport
