#include "Discovery.h"

#include <array>

namespace comm::transport {

bool Discovery::open(const Engine& engine, Signal& changed) {
    m_reader = engine.createDiscovery(changed);
    return !m_reader;
}

void Discovery::take(const std::function<void(const Endpoint& endpoint, bool isAlive)>& takeIn) {
    constexpr std::size_t AtOnce = 32;
    while (m_reader) {
        std::array<void*, AtOnce> samples{};
        std::array<dds_sample_info_t, AtOnce> infos{};
        const dds_return_t count = ::dds_take(m_reader.handle(), samples.data(), infos.data(), AtOnce, AtOnce);
        if (count <= 0) return;
        for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i)
            takeIn(*static_cast<const Endpoint*>(samples[i]),
                   infos[i].instance_state == DDS_ALIVE_INSTANCE_STATE && infos[i].valid_data);
        (void)::dds_return_loan(m_reader.handle(), samples.data(), count);
    }
}

ipl::string Discovery::partitionOf(const Endpoint& endpoint) {
    std::uint32_t count = 0;
    char** names = nullptr;
    if (!::dds_qget_partition(endpoint.qos, &count, &names)) return {};
    ipl::string partition = count == 1 ? names[0] : "";
    for (std::uint32_t i = 0; i < count; ++i) ::dds_free(names[i]);
    ::dds_free(names);
    return partition;
}

ipl::string Discovery::userDataOf(const Endpoint& endpoint) {
    void* data = nullptr;
    std::size_t size = 0;
    if (!::dds_qget_userdata(endpoint.qos, &data, &size)) return {};
    ipl::string text(static_cast<const char*>(data), data == nullptr ? 0 : size);
    ::dds_free(data);
    return text;
}

}  // namespace comm::transport
