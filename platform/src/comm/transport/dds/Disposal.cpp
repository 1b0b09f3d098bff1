#include "Disposal.h"

namespace comm::transport {

void Disposal::stop() {
    {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
    }
    m_signal.raise();
    (void)m_thread.join();  // it was started, and this is another thread
}

void Disposal::add(Entity entity, std::function<void()> deleted) {
    {
        const std::scoped_lock lock(m_mutex);
        m_items.push_back({std::move(entity), std::move(deleted)});
    }
    m_signal.raise();
}

void Disposal::run(util::Thread const* const /*thread*/) {
    do {
        m_signal.wait();
        m_signal.clear();
    } while (!deleteAll());
}

// True when there will be no more.
bool Disposal::deleteAll() {
    ipl::vector<Item> items;
    bool ended = false;
    {
        const std::scoped_lock lock(m_mutex);
        items.swap(m_items);
        ended = m_ended;
    }
    for (Item& item : items) {
        item.entity.reset();
        item.deleted();
    }
    return ended;
}

}  // namespace comm::transport
