#pragma once

#include <atomic>
#include <mutex>

#include "Stream.h"
#include "comm/LifecycleListener.h"

/// A proxy whose every connection carries a stream of its own. Any thread.
class Sender final : private comm::LifecycleListener {
  public:
    /// `index` counts the connections of this worker.
    Sender(std::uint32_t worker, std::atomic<std::uint32_t>& index, std::uint32_t instance)
        : m_worker(worker), m_index(index), m_proxy(instance, this) {}
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;
    ~Sender() override { m_proxy.disconnect(); }

    /// True on failure, with the reason in the error storage.
    [[nodiscard]] bool connect() { return m_proxy.connect(); }

    /// The present connection, or 0.
    std::uint32_t connection() const;
    /// The messages of the present connection, or the last one.
    std::uint32_t count() const;

    /// Sends a message of that size; it is dropped while there is no connection. With an instance to reply to, or a
    /// token, the size is the header's at least.
    void send(std::uint32_t size, std::uint32_t replyTo = 0, std::uint32_t token = 0);

  private:
    void lifecycleChanged(bool alive) override;
    void sendNext(std::uint32_t size, std::uint32_t replyTo, std::uint32_t token);

    const std::uint32_t m_worker;
    std::atomic<std::uint32_t>& m_index;
    mutable std::mutex m_mutex;  // guards what follows, and makes a stream's order that of its calls
    Stream m_stream;
    bool m_alive = false;
    TestProxy m_proxy;
};
