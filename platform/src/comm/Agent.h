#pragma once

#include <map>
#include <memory>
#include <mutex>

#include "comm/TrackedReferenceBase.h"
#include "transport/Transport.h"

namespace comm {

class ProxyTracked;
class SvcTracked;

/// The process's connection to others: its transport, and the registrations and proxies that use it.
class Agent {
  public:
    explicit Agent(std::unique_ptr<transport::Transport> transport) : m_transport(std::move(transport)) {}

    /// The process's agent, or null when none runs. Who keeps it may use it also after its end; it then refuses.
    static std::shared_ptr<Agent> current();

    /// Starts the transport and makes `agent` the process's own. True on failure, with the reason in the error storage.
    static bool start(const std::shared_ptr<Agent>& agent);

    /// Withdraws all registrations, then disconnects all proxies, and ends the transport. As long as a callback may
    /// run, it may still connect proxies. When it returns, no callback runs or will run. Once, not on a callback's
    /// thread.
    void stop();

    transport::Transport& transport() const { return *m_transport; }

    /// Keep a record, for `stop`, until it is removed. True when the agent ends and takes no more of the kind, with the
    /// reason in the error storage. Both take the agent's mutex alone, so the caller may hold the record's.
    bool add(SvcTracked& record);
    bool add(ProxyTracked& record);
    void remove(SvcTracked& record);
    void remove(ProxyTracked& record);

  private:
    template <class Record>
    using References = std::map<Record*, TrackedReferenceBase>;

    static bool refuse();
    void endRegistrations();
    void endProxies();
    void forget();

    const std::unique_ptr<transport::Transport> m_transport;

    // Guards what follows. No record is released under it, since that may run its user's destructor.
    std::mutex m_mutex;
    bool m_takesRegistrations = true;
    bool m_takesProxies = true;
    References<SvcTracked> m_registrations;
    References<ProxyTracked> m_proxies;
};

}  // namespace comm
