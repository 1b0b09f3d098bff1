#include "Outbox.h"

#include <algorithm>
#include <new>

namespace comm::transport {

void Outbox::clear() {
    m_calls.clear();
    m_size = 0;
}

bool Outbox::append(const Outgoing& call) {
    std::unique_ptr<std::uint8_t[]> bytes(new (std::nothrow) std::uint8_t[call.rest.size()]);
    if (bytes == nullptr) return true;
    std::copy(call.rest.begin(), call.rest.end(), bytes.get());
    const std::size_t size = sizeof(Kept) + call.rest.size();
    Kept& kept = m_calls.emplace_back(Kept{std::move(bytes), size, call});
    kept.call.rest = {kept.bytes.get(), call.rest.size()};
    m_size += size;
    return false;
}

void Outbox::pop() {
    m_size -= m_calls.front().size;
    m_calls.pop_front();
}

}  // namespace comm::transport
