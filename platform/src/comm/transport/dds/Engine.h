#pragma once

#include <atomic>

#include "../../configuration/AgentConfiguration.h"
#include "../common/Outgoing.h"
#include "Entity.h"
#include "ReaderEvents.h"
#include "Signal.h"
#include "ipl/string.h"

namespace comm::transport {

/// The distributed engine as this process uses it: one participant of one domain, and one topic for all calls. Who
/// calls whom is a matter of partitions: the reader of a registration is alone in a partition that has its name, and
/// the writers of its links join it there.
///
/// What tells or raises something does so on threads of the engine. What is told or raised must outlive the entity.
class Engine {
  public:
    Engine() = default;
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine() { stop(); }

    /// True on failure, with the reason in the error storage, which holds what the engine itself says.
    [[nodiscard]] bool start(const AgentConfiguration& configuration);
    /// Deletes what is left of its entities, too.
    void stop();

    /// A name that no registration of the domain ever has had.
    ipl::string newName();

    /// The reader of the registration of that name, which tells `description` to whoever discovers it. Empty on
    /// failure, with the reason in the error storage; so are the following.
    Entity createReader(const ipl::string& name, const ipl::string& description, ReaderEvents& events) const;
    /// Gives a reader or writer another description, which its discoverers learn. Waits for no callback. True on
    /// failure.
    [[nodiscard]] static bool describe(const Entity& endpoint, const ipl::string& description);
    /// A writer for the registration of that name. `matched` is raised when it has met its reader or lost it.
    Entity createWriter(const ipl::string& name, Signal& matched) const;
    /// A reader that reports every reader in the domain, also those of this process.
    Entity createDiscovery(Signal& changed) const;

    /// Writes a call. True if the engine has no room for it, also after a moment, or never again.
    static bool write(const Entity& writer, std::uint64_t number, const Outgoing& call);
    /// Whether the calling thread is inside `write`.
    static bool isWriting();

    static constexpr const char* Topic = "comm_Call";
    /// What a writer says about itself that stays only until its calls have arrived.
    static constexpr const char* ClosedWriter = "closed";
    static const char* typeName();

  private:
    Entity m_domain;
    Entity m_participant;
    Entity m_topic;
    std::atomic<std::uint64_t> m_names{0};
};

}  // namespace comm::transport
