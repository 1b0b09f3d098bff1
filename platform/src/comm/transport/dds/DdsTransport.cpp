#include "DdsTransport.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "DdsLink.h"
#include "DdsListener.h"
#include "comm/Error.h"

namespace comm::transport {
namespace {

constexpr std::chrono::milliseconds UntilThereMayBeRoom{1};

}  // namespace

DdsTransport::DdsTransport(AgentConfiguration configuration)
    : m_configuration(std::move(configuration)),
      m_lockScope(".dds" + std::to_string(m_configuration.domain)),
      m_thread(*this, "agent", false, 0) {}

DdsTransport::~DdsTransport() = default;

bool DdsTransport::start() {
    if (m_directory.open() || m_engine.start(m_configuration) || m_registrations.open(m_engine, m_signal)) return true;
    m_running = true;
    if (m_disposal.start()) return true;
    if (!m_thread.start()) return false;
    m_disposal.stop();
    return true;
}

void DdsTransport::stop() {
    {
        const std::scoped_lock lock(m_mutex);
        m_running = false;
    }
    m_signal.raise();
    (void)m_thread.join();  // it was started, and this is another thread
    m_dispatchThreads.joinAll();
    drain();
    for (const auto& link : links()) link->abandon();
    m_disposal.stop();
    m_links.clear();
    m_registrations.close();
    m_engine.stop();
}

// All links are closed; what they have sent still gets a moment to arrive.
void DdsTransport::drain() {
    constexpr std::chrono::seconds AtMost{1};
    const auto end = std::chrono::steady_clock::now() + AtMost;
    while (followAll() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(UntilThereMayBeRoom);
}

ipl::string DdsTransport::description() const {
    return "DDS transport (Cyclone DDS), domain " + std::to_string(m_configuration.domain) +
           (m_configuration.interface.empty() ? "" : " on " + m_configuration.interface) + ", configured by " +
           m_configuration.file;
}

std::shared_ptr<Listener> DdsTransport::listen(const TrackedBase::IdentityArgs& identity,
                                               std::shared_ptr<ListenerEvents> events) {
    if (m_directory.refresh() == CurrentDirectory::Result::Failed) return nullptr;
    auto listener = std::make_shared<DdsListener>(*this, identity, std::move(events));
    if (listener->open()) return nullptr;
    return listener;
}

std::shared_ptr<Link> DdsTransport::link(const TrackedBase::IdentityArgs& identity,
                                         std::shared_ptr<LinkEvents> events) {
    return std::make_shared<DdsLink>(*this, identity, std::move(events));
}

bool DdsTransport::add(std::shared_ptr<DdsLink> link) {
    const std::scoped_lock lock(m_mutex);
    if (!m_running) return error::record(Error::NoAgent, "the transport has ended", __FILE__, __LINE__);
    const DdsLink* const key = link.get();
    m_links.emplace(key, std::move(link));
    return false;
}

void DdsTransport::remove(const DdsLink& link) {
    {
        const std::scoped_lock lock(m_mutex);
        m_links.erase(&link);
    }
    m_signal.raise();
}

bool DdsTransport::hasPredecessor(const DdsLink& link) {
    const std::scoped_lock lock(m_mutex);
    return std::ranges::any_of(m_links, [&](const auto& item) { return link.isPrecededBy(*item.second); });
}

void DdsTransport::run(util::Thread const* const /*thread*/) {
    for (bool moreSoon = false;;) {
        if (moreSoon)
            std::this_thread::sleep_for(UntilThereMayBeRoom);
        else
            m_signal.wait();
        m_signal.clear();
        {
            const std::scoped_lock lock(m_mutex);
            if (!m_running) return;
        }
        m_registrations.update();
        moreSoon = followAll();
    }
}

bool DdsTransport::followAll() {
    bool moreSoon = false;
    for (const auto& link : links()) moreSoon = link->follow() || moreSoon;
    return moreSoon;
}

ipl::vector<std::shared_ptr<DdsLink>> DdsTransport::links() {
    ipl::vector<std::shared_ptr<DdsLink>> links;
    const std::scoped_lock lock(m_mutex);
    for (const auto& [key, link] : m_links) links.push_back(link);
    return links;
}

}  // namespace comm::transport
