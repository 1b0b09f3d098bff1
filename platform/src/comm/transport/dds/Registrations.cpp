#include "Registrations.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace comm::transport {
namespace {

// The only partition; empty if there is none or more than one.
ipl::string partitionOf(const dds_qos_t* qos) {
    std::uint32_t count = 0;
    char** names = nullptr;
    if (!::dds_qget_partition(qos, &count, &names)) return {};
    ipl::string partition = count == 1 ? names[0] : "";
    for (std::uint32_t i = 0; i < count; ++i) ::dds_free(names[i]);
    ::dds_free(names);
    return partition;
}

ipl::string userDataOf(const dds_qos_t* qos) {
    void* data = nullptr;
    std::size_t size = 0;
    if (!::dds_qget_userdata(qos, &data, &size)) return {};
    ipl::string text(static_cast<const char*>(data), data == nullptr ? 0 : size);
    ::dds_free(data);
    return text;
}

}  // namespace

bool Registrations::open(const Engine& engine, Signal& changed) {
    const std::scoped_lock lock(m_mutex);
    m_reader = engine.createDiscovery(changed);
    return !m_reader;
}

void Registrations::close() {
    Entity reader;
    const std::scoped_lock lock(m_mutex);
    reader = std::move(m_reader);
}

void Registrations::update() {
    ipl::vector<Warning> found;
    {
        const std::scoped_lock lock(m_mutex);
        while (m_reader && take()) {
        }
        found.swap(m_found);
    }
    for (Warning& warning : found)
        m_warnings.write(warning.kind, std::move(warning.text), "update", "comm/transport/dds/Registrations");
}

// Takes in some of what has been discovered; false when there is no more. The mutex is held.
bool Registrations::take() {
    constexpr std::size_t AtOnce = 32;
    std::array<void*, AtOnce> samples{};
    std::array<dds_sample_info_t, AtOnce> infos{};
    const dds_return_t count = ::dds_take(m_reader.handle(), samples.data(), infos.data(), AtOnce, AtOnce);
    if (count <= 0) return false;
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        const auto& reader = *static_cast<const dds_builtintopic_endpoint_t*>(samples[i]);
        m_alive.erase(guidOf(reader.key));
        m_superseded.erase(guidOf(reader.key));
        if (infos[i].instance_state == DDS_ALIVE_INSTANCE_STATE && infos[i].valid_data) appeared(reader);
    }
    (void)::dds_return_loan(m_reader.handle(), samples.data(), count);
    return true;
}

void Registrations::appeared(const dds_builtintopic_endpoint_t& reader) {
    if (std::strcmp(reader.topic_name, Engine::Topic) != 0) return;
    auto registration = Registration::discovered(partitionOf(reader.qos), userDataOf(reader.qos));
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
