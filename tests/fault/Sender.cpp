#include "Sender.h"

#include "ipl/ErrorStorage.h"

std::uint32_t Sender::connection() const {
    const std::scoped_lock lock(m_mutex);
    return m_alive ? m_stream.connection() : 0;
}

std::uint32_t Sender::count() const {
    const std::scoped_lock lock(m_mutex);
    return m_stream.count();
}

void Sender::send(std::uint32_t size, std::uint32_t replyTo, std::uint32_t token) {
    const std::scoped_lock lock(m_mutex);
    if (m_alive) sendNext(size, replyTo, token);
}

// The first message says whose connection it is, and nothing else can come before it.
void Sender::lifecycleChanged(bool alive) {
    const std::scoped_lock lock(m_mutex);
    m_alive = alive;
    if (!alive) return;
    m_stream = Stream(m_worker, ++m_index);
    sendNext(sizeof(StreamHeader), 0, 0);
}

// A call that is dropped was the last one of its connection.
void Sender::sendNext(std::uint32_t size, std::uint32_t replyTo, std::uint32_t token) {
    const util::UInt8ArrayPtr array = m_stream.next(size, replyTo, token);
    m_proxy.call(m_stream.handleSize(), size == 0 && m_stream.count() % 2 == 0 ? util::UInt8ArrayPtr() : array);
    ipl::ErrorStorage::ack();
}
