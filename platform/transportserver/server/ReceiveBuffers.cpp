#include "ReceiveBuffers.h"

#include <cstdlib>

namespace transport {

ReceiveBuffers::~ReceiveBuffers() {
    for (void* memory : m_free) std::free(memory);
}

void* ReceiveBuffers::take() {
    const std::lock_guard lock(m_mutex);
    if (m_free.empty()) return nullptr;
    void* const memory = m_free.back();
    m_free.pop_back();
    return memory;
}

void ReceiveBuffers::giveBack(void* memory) {
    {
        const std::lock_guard lock(m_mutex);
        if (m_free.size() < Kept) {
            m_free.push_back(memory);
            return;
        }
    }
    std::free(memory);
}

std::shared_ptr<const void> ReceiveBuffers::share(void* memory) {
    return {memory, [this](void* shared) { giveBack(shared); }};
}

}  // namespace transport
