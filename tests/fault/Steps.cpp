#include "Steps.h"

#include <chrono>
#include <thread>

#include "HostileReader.h"
#include "HostileWriter.h"

namespace {

constexpr unsigned Services = 4;
constexpr unsigned Clients = 6;
constexpr std::uint32_t TrapInstance = 900;

// Where the sanitizers need more of it for themselves than a limit leaves.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool LimitsDescriptors = false;
constexpr bool LimitsAddresses = false;
#elif defined(__SANITIZE_THREAD__)
constexpr bool LimitsDescriptors = true;
constexpr bool LimitsAddresses = false;
#elif defined(__has_feature)
constexpr bool LimitsDescriptors = __has_feature(address_sanitizer) == 0;
constexpr bool LimitsAddresses = __has_feature(address_sanitizer) + __has_feature(thread_sanitizer) == 0;
#else
constexpr bool LimitsDescriptors = true;
constexpr bool LimitsAddresses = true;
#endif

}  // namespace

const std::vector<Steps::Kind> Steps::Kinds{
    {"start service", 6, &Steps::startService},
    {"start client", 6, &Steps::startClient},
    {"connect", 12, &Steps::connect},
    {"disconnect", 5, &Steps::disconnect},
    {"burst", 12, &Steps::burst},
    {"rally", 8, &Steps::rally},
    {"stop", 4, &Steps::stop},
    {"continue", 6, &Steps::resume},
    {"kill service", 4, &Steps::killService},
    {"kill client", 4, &Steps::killClient},
    {"end service", 2, &Steps::endService},
    {"end client", 2, &Steps::endClient},
    {"fill", 4, &Steps::fill},
    {"attack", 14, &Steps::attack},
    {"trap", 5, &Steps::trap},
    {"few descriptors", LimitsDescriptors ? 1 : 0, &Steps::fewDescriptors},
    {"little memory", LimitsAddresses ? 1 : 0, &Steps::littleMemory},
    {"calm", 2, &Steps::calm},
};

void Steps::next() {
    unsigned sum = 0;
    for (const Kind& kind : Kinds) sum += kind.weight;
    unsigned at = m_dice.upTo(sum);
    auto kind = Kinds.begin();
    for (; at >= kind->weight; ++kind) at -= kind->weight;
    m_journal.step(kind->name);
    (this->*kind->run)();
    m_team.settle();
}

Member* Steps::any(Member::Role role) {
    const std::vector<Member*> members = m_team.running(role);
    return members.empty() ? nullptr : m_dice.oneOf(members);
}

std::uint32_t Steps::anyInstance() {
    return m_dice.between(1, Services);
}

void Steps::startService() {
    const std::uint32_t instance = anyInstance();
    if (m_team.at(instance) == nullptr) m_team.start(Member::Service, instance);
}

void Steps::startClient() {
    unsigned clients = 0;
    for (const Member* const member : m_team.all()) clients += member->role == Member::Client ? 1 : 0;
    if (clients < Clients) m_team.start(Member::Client);
}

void Steps::connect() {
    const std::uint32_t instance = anyInstance();
    Member* const client = any(Member::Client);
    if (client != nullptr && !client->links.contains(instance)) m_team.connect(*client, instance);
}

// Also what was sent just before must arrive, and when the service can take it only afterwards.
void Steps::disconnect() {
    Member* const client = any(Member::Client);
    if (client == nullptr || client->links.empty()) return;
    const auto link = std::next(client->links.begin(), m_dice.upTo(static_cast<unsigned>(client->links.size())));
    const std::uint32_t instance = link->first;
    if (!m_dice.oneIn(3)) send(*client, instance);
    m_team.disconnect(*client, instance);
}

// At most what a ring and its outbox hold.
void Steps::send(Member& member, std::uint32_t instance) {
    struct Burst {
        unsigned least;
        unsigned most;
        unsigned long long largest;
    };
    static const std::vector<Burst> bursts{
        {1, 2000, 200}, {1, 300, 66000}, {1, 12, 3 << 20}, {20000, 23000, 900}, {1, 20, 3 << 20}};
    constexpr unsigned long long Enough = 120ULL << 20U;
    const unsigned kind = m_dice.upTo(static_cast<unsigned>(bursts.size()));
    const unsigned count = m_dice.between(bursts[kind].least, bursts[kind].most);
    const unsigned seed = m_dice.upTo(1000000);
    Member::Link& link = member.links.at(instance);
    if (link.backlog + count * bursts[kind].largest > Enough) return;
    link.backlog += count * bursts[kind].largest;
    m_journal.note(std::to_string(member.id) + " sends " + std::to_string(count) + " of kind " + std::to_string(kind) +
                   " to " + std::to_string(instance));
    member.process->post("send " + std::to_string(instance) + ' ' + std::to_string(count) + ' ' + std::to_string(kind) +
                         ' ' + std::to_string(seed));
}

void Steps::sendEverywhere() {
    for (Member* const client : m_team.running(Member::Client))
        for (const auto& [instance, link] : client->links)
            if (!m_dice.oneIn(3)) send(*client, instance);
}

// Lets what was begun get somewhere.
void Steps::pause() {
    std::this_thread::sleep_for(std::chrono::microseconds(m_dice.upTo(150) * m_dice.upTo(150)));
}

void Steps::burst() {
    sendEverywhere();
}

void Steps::rally() {
    for (Member* const client : m_team.running(Member::Client))
        for (const auto& [instance, link] : client->links)
            if (const Member* const peer = m_team.at(instance); peer != nullptr && !peer->stopped && m_dice.oneIn(2))
                m_team.rally(*client, instance, m_dice.between(1, 300), m_dice.upTo(1000));
}

void Steps::stop() {
    Member* const member = any(m_dice.oneIn(2) ? Member::Service : Member::Client);
    if (member == nullptr || !m_team.isSettled(*member)) return;
    sendEverywhere();
    pause();
    m_team.stop(*member);
}

void Steps::resume() {
    const std::vector<Member*> members = m_team.stopped();
    if (!members.empty()) m_team.resume(*m_dice.oneOf(members));
}

// While messages are on their way to it. Often a successor comes at once.
void Steps::loseService(void (Team::*lose)(Member&)) {
    Member* const service = any(Member::Service);
    if (service == nullptr) return;
    const std::uint32_t instance = service->instance;
    sendEverywhere();
    pause();
    (m_team.*lose)(*service);
    if (m_dice.oneIn(2)) m_team.start(Member::Service, instance);
}

void Steps::killService() {
    loseService(&Team::kill);
}

void Steps::killClient() {
    Member* const client = any(Member::Client);
    if (client == nullptr) return;
    sendEverywhere();
    pause();
    m_team.kill(*client);
}

void Steps::endService() {
    loseService(&Team::end);
}

// What is sent must arrive if its sender lives so long.
void Steps::endClient() {
    Member* const client = any(Member::Client);
    if (client == nullptr) return;
    sendEverywhere();
    while (!client->links.empty()) m_team.disconnect(*client, client->links.begin()->first);
    m_team.settle();
    m_team.end(*client);
}

void Steps::fill() {
    Member* const service = any(Member::Service);
    if (service == nullptr) return;
    m_team.stop(*service);
    for (unsigned round = m_dice.between(1, 4); round > 0; --round) sendEverywhere();
    if (m_dice.oneIn(2)) disconnect();
    // Now and then for so long that an idle sender gives memory back.
    if (m_dice.oneIn(40))
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    else
        pause();
    if (m_dice.oneIn(4))
        m_team.kill(*service);
    else
        m_team.resume(*service);
}

// The attacker lives on, with all that it had for the connection.
std::unique_ptr<ChildProcess> Steps::attack(const Member& target, const std::string& attack, unsigned count) {
    const std::size_t warnings = target.process->warnings();
    m_journal.note(attack + " against " + std::to_string(target.id));
    m_journal.count("hostile connections", count);
    std::unique_ptr<ChildProcess> hostile =
        m_team.startHostile({"attack", attack, std::to_string(target.instance), std::to_string(m_dice.upTo(1000000)),
                             std::to_string(count)});
    if (hostile->answer() != "ok") m_journal.finding(attack + " comes to no end: " + hostile->errors());
    if (HostileWriter::mustBeNoticed(attack) && target.process->warnings() == warnings)
        m_journal.finding(std::to_string(target.id) + " does not warn of " + attack);
    return hostile;
}

void Steps::attack() {
    const Member* const service = any(Member::Service);
    if (service == nullptr) return;
    if (m_dice.oneIn(2)) sendEverywhere();
    (void)attack(*service, m_dice.oneOf(HostileWriter::attacks()), 1);
}

// A client goes to a service that is none.
void Steps::trap() {
    Member* const client = any(Member::Client);
    if (client == nullptr) return;
    const std::string behaviour = m_dice.oneOf(HostileReader::behaviours());
    m_journal.note(behaviour + " against " + std::to_string(client->id));
    m_journal.count("hostile connections");
    const auto hostile =
        m_team.startHostile({"trap", behaviour, std::to_string(TrapInstance), std::to_string(m_dice.upTo(1000000))});
    if (hostile->answer() != "ok") m_journal.finding("the trap does not open: " + hostile->errors());
    m_team.connect(*client, TrapInstance);
    for (unsigned round = m_dice.between(1, 3); round > 0; --round) send(*client, TrapInstance);
    if (m_dice.oneIn(2)) sendEverywhere();
    m_team.finish(*hostile, "the trap");
    m_team.disconnect(*client, TrapInstance);
}

// Limits what a worker may have: both as a client and as a service it must live on, and serve again afterwards.
void Steps::tryPoorWorker(unsigned descriptors, unsigned connections, const std::string& limit) {
    Member& poor = m_team.start(Member::Poor, 0, descriptors);
    Member* const service = any(Member::Service);
    Member* const client = any(Member::Client);
    m_team.ask(poor, "limit " + limit);
    if (service != nullptr)
        m_team.ask(poor, "exhaust " + std::to_string(service->instance) + ' ' + std::to_string(connections));
    (void)attack(poor, "a crowd", connections);
    m_team.ask(poor, "limit 0");
    m_team.settle();
    if (service != nullptr) m_team.connect(poor, service->instance);
    if (client != nullptr) m_team.connect(*client, poor.instance);
    m_team.settle();
    if (client != nullptr) m_team.disconnect(*client, poor.instance);
    if (service != nullptr) m_team.disconnect(poor, service->instance);
    m_team.settle();
    m_team.end(poor);
}

void Steps::fewDescriptors() {
    tryPoorWorker(40, 30, "0");
}

void Steps::littleMemory() {
    tryPoorWorker(0, 8, "48");
}

void Steps::calm() {
    for (Member* const member : m_team.stopped()) m_team.resume(*member);
    m_team.settle();
    for (Member* const member : m_team.all())
        while (!member->links.empty()) m_team.disconnect(*member, member->links.begin()->first);
    m_team.settle();
    for (Member* const member : m_team.all()) {
        m_team.ask(*member, "forget");
        member->answers.clear();
    }
    std::vector<std::unique_ptr<ChildProcess>> refused;
    for (const Member* const service : m_team.running(Member::Service))
        refused.push_back(attack(*service, "a corrupt record", 1));
    m_team.settle();
    for (Member* const member : m_team.all()) m_team.ask(*member, "idle");
}
