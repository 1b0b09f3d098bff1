#include "Steps.h"

#include <chrono>
#include <filesystem>
#include <thread>

#include "HostileReader.h"
#include "HostileWriter.h"
#include "Leftovers.h"
#include "Sanitized.h"

namespace {

constexpr unsigned Services = 4;
constexpr unsigned Clients = 6;
constexpr std::uint32_t TrapInstance = 900;
constexpr std::uint32_t NewInstance = 901;

// Where the sanitizers need more of it for themselves than a limit leaves.
constexpr bool LimitsDescriptors = !AddressSanitized;
constexpr bool LimitsAddresses = !Sanitized;

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
    {"few descriptors", LimitsDescriptors ? 3 : 0, &Steps::fewDescriptors},
    {"little memory", LimitsAddresses ? 1 : 0, &Steps::littleMemory},
    {"clean", 3, &Steps::clean},
    {"succeed", 4, &Steps::succeed},
    {"race", 1, &Steps::race},
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
    (void)connectTo(anyInstance());
}

Member* Steps::connectTo(std::uint32_t instance) {
    std::vector<Member*> clients = m_team.running(Member::Client);
    std::erase_if(clients, [&](const Member* client) { return client->links.contains(instance); });
    if (clients.empty()) return nullptr;
    Member* const client = m_dice.oneOf(clients);
    m_team.connect(*client, instance);
    return client;
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
            if (const Member* const peer = m_team.at(instance);
                link.peer != 0 && !peer->stopped && peer->answers.contains(client->id) && m_dice.oneIn(2))
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
    m_journal.note(attack + " against " + std::to_string(target.id));
    m_journal.count("hostile connections", count);
    std::unique_ptr<ChildProcess> hostile =
        m_team.startHostile({"attack", attack, std::to_string(target.instance), std::to_string(m_dice.upTo(1000000)),
                             std::to_string(count)});
    if (hostile->answer() != "ok") m_journal.finding(attack + " comes to no end: " + hostile->errors());
    return hostile;
}

void Steps::attack() {
    const Member* const service = any(Member::Service);
    if (service == nullptr) return;
    if (m_dice.oneIn(2)) sendEverywhere();
    const auto hostile = attack(*service, m_dice.oneOf(HostileWriter::attacks()), 1);
    if (Member* const client = m_dice.oneIn(2) ? connectTo(service->instance) : nullptr)
        m_team.converse(*client, service->instance);
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

// What has not all that it needs holds what it has and rests. When there is enough again, what had to wait connects by
// itself.
void Steps::starve(Member& member, const std::string& what, unsigned more, unsigned crowd) {
    m_team.starve(member, what, more);
    for (const Member* const service : m_team.running(Member::Service))
        if (member.role != Member::Service && !member.links.contains(service->instance))
            m_team.connect(member, service->instance);
    if (member.role != Member::Client) (void)connectTo(member.instance);
    (void)attack(member, "a crowd", crowd);
    rally();
    m_team.ask(member, "rest");
    m_team.feed(member, what);
    m_team.settle();
}

void Steps::fewDescriptors() {
    Member* const member = any(m_dice.oneIn(2) ? Member::Service : Member::Client);
    if (member != nullptr) starve(*member, "descriptors", m_dice.upTo(8), 30);
}

void Steps::littleMemory() {
    Member& poor = m_team.start(Member::Poor);
    starve(poor, "addresses", 48, 8);
    for (Member* const member : m_team.all())
        if (member->links.contains(poor.instance)) m_team.disconnect(*member, poor.instance);
    while (!poor.links.empty()) m_team.disconnect(poor, poor.links.begin()->first);
    m_team.settle();
    m_team.end(poor);
}

// Somebody clears the runtime directory away. All who live make their names again, and who waits for a service finds
// it.
void Steps::clean() {
    const std::uint32_t instance = anyInstance();
    if (m_team.at(instance) == nullptr) (void)connectTo(instance);
    if (m_team.all().empty()) return;
    removeNames();
    for (Member* const member : m_team.stopped()) m_team.resume(*member);
    m_team.awaitNames();
    if (m_team.at(instance) == nullptr) m_team.start(Member::Service, instance);
    for (Member* const member : m_team.all()) m_team.ask(*member, "replace " + std::to_string(NewInstance));
    connect();
    std::error_code ignored;
    std::filesystem::remove_all(m_team.meetingPlace() + ".away", ignored);
}

void Steps::removeNames() {
    const std::filesystem::path place = m_team.meetingPlace();
    std::error_code ignored;  // they may be made again meanwhile
    switch (m_dice.upTo(3)) {
        case 0:
            m_journal.note("removes some names");
            for (const std::string& file : Leftovers::filesIn(place))
                if (m_dice.oneIn(2)) std::filesystem::remove(place / file, ignored);
            break;
        case 1:
            m_journal.note("moves the directory away");
            std::filesystem::rename(place, place.string() + ".away", ignored);
            break;
        default:
            m_journal.note("removes the directory");
            std::filesystem::remove_all(place, ignored);
    }
}

// A client leaves a backlog behind at a stopped service, and nobody is heard before the last of it.
void Steps::succeed() {
    Member* const service = any(Member::Service);
    Member* const first = any(Member::Client);
    if (service == nullptr || first == nullptr || !m_team.isSettled(*service)) return;
    const std::uint32_t instance = service->instance;
    if (!first->links.contains(instance) || !m_team.isSettled(*first)) return;
    m_team.ask(*service, "peak 1000");
    const std::size_t connections = m_team.connectionsTo(*service);
    m_team.stop(*service);
    for (unsigned round = m_dice.between(1, 3); round > 0; --round) send(*first, instance);
    m_team.disconnect(*first, instance);
    Member* const next = any(Member::Client);
    if (!next->links.contains(instance)) m_team.connect(*next, instance);
    if (next->links.contains(instance) && m_dice.oneIn(2)) send(*next, instance);
    m_team.resume(*service);
    m_team.settle();
    m_team.ask(*service, "peak " + std::to_string(connections));
}

// The threads of one process undo what they do.
void Steps::race() {
    const auto racer =
        m_team.startHostile({"race", std::to_string(anyInstance()), std::to_string(m_dice.upTo(1000000))});
    if (racer->answer() != "ok") m_journal.finding("a race comes to no good end: " + racer->errors());
    m_team.finish(*racer, "the race");
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
    for (Member* const member : m_team.all()) {
        m_team.ask(*member, "idle");
        m_team.ask(*member, "rest");
    }
}
