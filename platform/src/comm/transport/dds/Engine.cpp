#include "Engine.h"

#include <malloc.h>

#include <chrono>
#include <future>
#include <thread>
#include <utility>

#include "Call.h"
#include "EngineLog.h"
#include "EngineSettings.h"
#include "Qos.h"
#include "comm/Error.h"

namespace comm::transport {
namespace {

// Gives the entity on, or records why there is none.
Entity made(dds_entity_t handle, const ipl::string& what) {
    if (handle < 0) error::record(Error::Transport, what + ": " + ::dds_strretcode(handle), __FILE__, __LINE__);
    return Entity(handle);
}

class EngineListener {
  public:
    explicit EngineListener(void* argument) : m_listener(::dds_create_listener(argument)) {}
    EngineListener(const EngineListener&) = delete;
    EngineListener& operator=(const EngineListener&) = delete;
    ~EngineListener() { ::dds_delete_listener(m_listener); }

    dds_listener_t* get() const { return m_listener; }

  private:
    dds_listener_t* const m_listener;
};

thread_local bool writing = false;

// The engine takes memory for each message and gives it back. What goes back to the system each time, the system clears
// page by page each time.
void keepFreedMemory() {
    constexpr int MostKept = 16 << 20;
    constexpr int LongestFromHeap = 4 << 20;
    (void)::mallopt(M_TRIM_THRESHOLD, MostKept);
    (void)::mallopt(M_MMAP_THRESHOLD, LongestFromHeap);
}

// To end its threads the engine sends itself packets, and waits for ever where the network has gone down and takes
// none.
void end(Entity domain) {
    constexpr std::chrono::seconds AtMost{2};
    std::promise<void> promise;
    const std::future<void> ended = promise.get_future();
    std::thread([domain = std::move(domain), promise = std::move(promise)]() mutable {
        domain.reset();
        promise.set_value();
    }).detach();
    if (ended.wait_for(AtMost) == std::future_status::timeout)
        EngineLog::warn("the network is down, and the engine's threads end with the process");
}

}  // namespace

bool Engine::start(const AgentConfiguration& configuration) {
    keepFreedMemory();
    EngineLog::begin();
    m_domain = Entity(::dds_create_domain(configuration.domain, engineSettings(configuration).c_str()));
    dds_return_t result = m_domain.handle();
    if (m_domain) {
        m_participant = Entity(::dds_create_participant(configuration.domain, nullptr, nullptr));
        result = m_participant.handle();
    }
    const ipl::string said = EngineLog::endOfStart();
    if (!m_participant)
        return error::record(Error::Transport,
                             "Cyclone DDS cannot start: " + (said.empty() ? ::dds_strretcode(result) : said), __FILE__,
                             __LINE__);
    if (!said.empty()) EngineLog::warn(said);
    m_topic = made(::dds_create_topic(m_participant.handle(), &zidbench_Call_desc, Topic, nullptr, nullptr), "topic");
    return !m_topic;
}

void Engine::stop() {
    m_topic.reset();
    m_participant.reset();
    if (m_domain) end(std::move(m_domain));
}

ipl::string Engine::newName() {
    dds_guid_t guid{};
    (void)::dds_get_guid(m_participant.handle(), &guid);
    ipl::string text;
    for (const std::uint8_t byte : guid.v) {
        constexpr const char* Digits = "0123456789abcdef";
        text += {Digits[byte >> 4], Digits[byte & 15]};
    }
    return text + '.' + std::to_string(++m_names);
}

const char* Engine::typeName() {
    return zidbench_Call_desc.m_typename;
}

Entity Engine::createReader(const ipl::string& name, const ipl::string& description, ReaderEvents& events) const {
    const Qos qos(name);
    ::dds_qset_userdata(qos.get(), description.data(), description.size());
    const EngineListener listener(&events);
    ::dds_lset_data_available(listener.get(), [](dds_entity_t reader, void* argument) {
        static_cast<ReaderEvents*>(argument)->callsCame(reader);
    });
    ::dds_lset_subscription_matched(listener.get(),
                                    [](dds_entity_t, const dds_subscription_matched_status_t, void* argument) {
                                        static_cast<ReaderEvents*>(argument)->writersChanged();
                                    });
    return made(::dds_create_reader(m_participant.handle(), m_topic.handle(), qos.get(), listener.get()),
                "reader of " + name);
}

bool Engine::describe(const Entity& endpoint, const ipl::string& description) {
    const Qos qos;
    ::dds_qset_userdata(qos.get(), description.data(), description.size());
    return ::dds_set_qos(endpoint.handle(), qos.get()) != DDS_RETCODE_OK;
}

Entity Engine::createWriter(const ipl::string& name, Signal& matched) const {
    const Qos qos(name);
    const EngineListener listener(&matched);
    ::dds_lset_publication_matched(listener.get(), [](dds_entity_t, const dds_publication_matched_status_t,
                                                      void* argument) { static_cast<Signal*>(argument)->raise(); });
    return made(::dds_create_writer(m_participant.handle(), m_topic.handle(), qos.get(), listener.get()),
                "writer to " + name);
}

Entity Engine::createDiscovery(Signal& changed) const {
    const EngineListener listener(&changed);
    ::dds_lset_data_available(listener.get(),
                              [](dds_entity_t, void* argument) { static_cast<Signal*>(argument)->raise(); });
    return made(
        ::dds_create_reader(m_participant.handle(), DDS_BUILTIN_TOPIC_DCPSSUBSCRIPTION, nullptr, listener.get()),
        "discovery");
}

bool Engine::write(const Entity& writer, std::uint64_t number, const Outgoing& call) {
    zidbench_Call sample{};
    sample.number = number;
    sample.handleSize = call.handleSize;
    sample.withArray = call.withArray;
    sample.array._buffer = const_cast<std::uint8_t*>(call.rest.data());  // only read
    sample.array._length = sample.array._maximum = call.length;
    writing = true;
    const dds_return_t result = ::dds_write(writer.handle(), &sample);
    writing = false;
    return result != DDS_RETCODE_OK;
}

bool Engine::isWriting() {
    return writing;
}

}  // namespace comm::transport
