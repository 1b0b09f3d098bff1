#pragma once

#include <functional>

#include "Engine.h"
#include "Entity.h"
#include "Signal.h"
#include "ipl/string.h"

namespace comm::transport {

/// What the engine discovers of all readers in the domain, those of this process included. Not safe for several threads
/// at once.
class Discovery {
  public:
    using Endpoint = dds_builtintopic_endpoint_t;

    /// Begins to discover; `changed` is raised when `take` has something to do. True on failure, with the reason in the
    /// error storage.
    [[nodiscard]] bool open(const Engine& engine, Signal& changed);
    /// Ends that. The reader that is given back is deleted with no lock held, which waits for the engine's threads.
    [[nodiscard]] Entity close() { return std::move(m_reader); }

    /// Passes on each reader that has come, changed or gone since; of one that has gone only the keys.
    void take(const std::function<void(const Endpoint& endpoint, bool isAlive)>& takeIn);

    /// The only partition; empty if there is none or more than one.
    static ipl::string partitionOf(const Endpoint& endpoint);
    static ipl::string userDataOf(const Endpoint& endpoint);

  private:
    Entity m_reader;
};

}  // namespace comm::transport
