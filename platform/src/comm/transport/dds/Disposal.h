#pragma once

#include <functional>
#include <mutex>

#include "Entity.h"
#include "Signal.h"
#include "ipl/vector.h"
#include "util/Thread.h"

namespace comm::transport {

/// Deletes entities on a thread of its own. The engine waits for its own threads then, and so for the callbacks that
/// run there: nobody who may hold something that a callback waits for can delete an entity himself.
class Disposal final : private util::Thread::Runnable {
  public:
    Disposal() : m_thread(*this, "disposal", false, 0) {}

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool start() { return m_thread.start(); }
    /// Deletes what is left and ends the thread.
    void stop();

    /// Deletes an entity, and then calls `deleted` on its thread, and lets go of it. Any thread.
    void add(Entity entity, std::function<void()> deleted);

  private:
    struct Item {
        Entity entity;
        std::function<void()> deleted;
    };

    void run(util::Thread const* thread) override;
    bool deleteAll();

    util::Thread m_thread;
    Signal m_signal;

    // Guards what follows. Nothing is deleted under it.
    std::mutex m_mutex;
    bool m_ended = false;
    ipl::vector<Item> m_items;
};

}  // namespace comm::transport
