#include "Registrations.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace comm::transport {

bool Registrations::open(const Engine& engine, Signal& changed) {
    const std::scoped_lock lock(m_mutex);
    return m_discovery.open(engine, changed);
}

void Registrations::close() {
    Entity reader;  // deleted after the mutex is released
    const std::scoped_lock lock(m_mutex);
    reader = m_discovery.close();
}

void Registrations::update() {
    ipl::vector<Warning> found;
    {
        const std::scoped_lock lock(m_mutex);
        m_discovery.take([this](const Discovery::Endpoint& reader, bool isAlive) {
            m_alive.erase(guidOf(reader.key));
            m_superseded.erase(guidOf(reader.key));
            if (isAlive) appeared(reader);
        });
        found.swap(m_found);
    }
    for (Warning& warning : found)
        m_warnings.write(warning.kind, std::move(warning.text), "update", "comm/transport/dds/Registrations");
}

void Registrations::appeared(const Discovery::Endpoint& reader) {
    if (std::strcmp(reader.topic_name, Engine::Topic) != 0) return;
    auto registration = Registration::discovered(Discovery::partitionOf(reader), Discovery::userDataOf(reader));
    if (!registration || std::strcmp(reader.type_name, Engine::typeName()) != 0)
        return warnOfStranger(reader.type_name);
    if (registration->isWithdrawn) return;
    Entry entry{++m_discovered, guidOf(reader.participant_key), *std::move(registration)};
    supersede(entry);
    warnOfRivals(entry.registration);
    m_alive.insert_or_assign(guidOf(reader.key), std::move(entry));
}

void Registrations::warnOfStranger(const ipl::string& typeName) {
    if (std::exchange(m_strangerFound, true)) return;
    m_found.push_back({"stranger", "somebody in this domain uses the topic " + ipl::string(Engine::Topic) +
                                       " for something else, of the type " + typeName.substr(0, 200) +
                                       ": nothing is sent there"});
}

void Registrations::supersede(const Entry& successor) {
    std::erase_if(m_alive, [&](const auto& item) {
        const auto& [reader, entry] = item;
        if (entry.registration.key() != successor.registration.key() ||
            !entry.registration.sharesPlaceWith(successor.registration))
            return false;
        if (entry.participant != successor.participant) m_superseded.emplace(reader, entry.participant);
        return true;
    });
}

void Registrations::warnOfRivals(const Registration& registration) {
    for (const auto& [guid, entry] : m_alive)
        if (entry.registration.key() == registration.key())
            m_found.push_back({registration.key(), registration.display + " is registered twice, by " +
                                                       entry.registration.owner + " and by " + registration.owner +
                                                       ": end one of them. Who is connected stays with the first"});
}

bool Registrations::isKilled(const Guid& participant) const {
    const std::scoped_lock lock(m_mutex);
    return std::ranges::any_of(m_superseded, [&](const auto& item) { return item.second == participant; });
}

std::optional<Registration> Registrations::find(const ipl::string& key) const {
    const std::scoped_lock lock(m_mutex);
    const Entry* newest = nullptr;
    for (const auto& [guid, entry] : m_alive)
        if (entry.registration.key() == key && (newest == nullptr || newest->order < entry.order)) newest = &entry;
    if (newest == nullptr) return std::nullopt;
    return newest->registration;
}

bool Registrations::isAlive(const ipl::string& name) const {
    const std::scoped_lock lock(m_mutex);
    return std::any_of(m_alive.begin(), m_alive.end(),
                       [&](const auto& item) { return item.second.registration.name == name; });
}

}  // namespace comm::transport
