#include "Team.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <thread>

#include "Leftovers.h"
#include "Stream.h"
#include "Worker.h"

namespace {

std::string nameOf(const Member& member) {
    constexpr std::array<const char*, 3> Roles{"service", "client", "poor worker"};
    return std::string(Roles.at(member.role)) + ' ' + std::to_string(member.id);
}

}  // namespace

Member& Team::start(Member::Role role, std::uint32_t instance) {
    // Their tags must differ.
    do ++m_lastId;
    while (std::any_of(m_members.begin(), m_members.end(),
                       [&](const Member& other) { return (other.id - m_lastId) % Stream::WorkerTags == 0; }));
    if (instance == 0) instance = Worker::privateInstance(m_lastId);
    const std::string id = std::to_string(m_lastId);
    auto process = std::make_unique<ChildProcess>(std::vector<std::string>{"worker", id, std::to_string(instance)},
                                                  m_directory + "/stderr." + id);
    Member& member = m_members.emplace_back(Member{role, m_lastId, instance, std::move(process)});
    m_killed.erase(instance);
    m_journal.note("starts " + nameOf(member) + " at " + std::to_string(instance));
    collect(member);
    return member;
}

std::unique_ptr<ChildProcess> Team::startHostile(const std::vector<std::string>& arguments) {
    return std::make_unique<ChildProcess>(arguments, m_directory + "/stderr.hostile");
}

void Team::stop(Member& member) {
    m_journal.note("stops " + nameOf(member));
    m_journal.count("stops");
    member.process->stop();
    member.stopped = true;
}

void Team::resume(Member& member) {
    m_journal.note("continues " + nameOf(member));
    member.stopped = false;
    member.process->resume();
}

void Team::starve(Member& member, const std::string& what, unsigned more) {
    m_journal.note("leaves " + nameOf(member) + ' ' + std::to_string(more) + ' ' + what);
    member.starved = true;
    ask(member, "limit " + what + ' ' + std::to_string(more));
}

void Team::feed(Member& member, const std::string& what) {
    ask(member, "limit " + what);
    member.starved = false;
}

void Team::kill(Member& member) {
    m_journal.note("kills " + nameOf(member));
    m_journal.count("kills");
    if (member.process->hasEnded()) finding(member, "has died by itself");
    m_killed.insert(member.instance);
    member.process->kill();
    remove(member);
}

void Team::end(Member& member) {
    m_journal.note("ends " + nameOf(member));
    collect(member);
    member.process->post("end");
    finish(*member.process, nameOf(member));
    remove(member);
}

void Team::finish(ChildProcess& process, const std::string& name) {
    const int status = process.waitForEnd();
    if (status != 0)
        m_journal.finding(name + " ends with status " + std::to_string(status) + "\nits standard error:\n" +
                          process.errors());
}

// The connections of others to it are over, and they know or will know.
void Team::remove(Member& member) {
    addFigures(member);
    addWarnings(member);
    const auto isIts = [&](const End& end) { return end.receiver == member.id || end.sender == member.id; };
    m_ends.erase(std::remove_if(m_ends.begin(), m_ends.end(), isIts), m_ends.end());
    for (Member& other : m_members) {
        other.answers.erase(member.id);
        for (auto& [instance, link] : other.links)
            if (link.peer == member.id) link = {};
    }
    m_members.remove_if([&](const Member& other) { return &other == &member; });
}

void Team::addFigures(const Member& member) {
    std::istringstream figures(member.figures);
    for (const char* const what : {"messages", "bytes", "strays"}) {
        unsigned long long number = 0;
        figures >> number;
        m_journal.count(what, number);
    }
}

// However often the cause comes, there is no more than one a second of a kind.
void Team::addWarnings(const Member& member) {
    const auto life = std::chrono::steady_clock::now() - member.started;
    const auto most = static_cast<std::size_t>(std::chrono::ceil<std::chrono::seconds>(life).count()) + 1;
    for (const auto& [kind, count] : member.process->warnings()) {
        m_journal.count("warnings", count);
        if (count > most) finding(member, "has written so often: " + kind);
    }
}

void Team::connect(Member& member, std::uint32_t instance) {
    m_journal.note("connects " + nameOf(member) + " to " + std::to_string(instance));
    member.links[instance] = {};
    ask(member, "connect " + std::to_string(instance));
    const Member* const peer = at(instance);
    if (peer == nullptr) return;
    if (member.starved || peer->starved)
        member.links[instance] = {};  // it may be another connection when it works
    else if (member.links[instance].peer == 0)
        finding(member, "does not reach a living " + nameOf(*peer));
}

void Team::disconnect(Member& member, std::uint32_t instance) {
    m_journal.note("disconnects " + nameOf(member) + " from " + std::to_string(instance));
    const std::string stream = ask(member, "disconnect " + std::to_string(instance));
    const std::uint32_t peer = member.links[instance].peer;
    if (peer != 0) m_ends.push_back({peer, member.id, stream});
    member.links.erase(instance);
}

std::string Team::ask(Member& member, const std::string& command) {
    member.process->post(command);
    return collect(member);
}

std::string Team::collect(Member& member) {
    std::string line = "ok";
    while (!member.process->pending().empty()) {
        const std::string command = member.process->pending().front();
        line = member.process->answer();
        if (line.empty()) finding(member, "has died or hangs at '" + command + "'");
        if (line.rfind("fault ", 0) == 0) finding(member, "at '" + command + "': " + line.substr(6));
        if (line.rfind("up ", 0) == 0) up(member, line.substr(3));
    }
    return line.size() > 3 ? line.substr(3) : "";
}

void Team::up(Member& member, const std::string& line) {
    std::uint32_t instance = 0;
    std::uint32_t connection = 0;
    std::istringstream(line) >> instance >> connection;
    Member* const peer = at(instance);
    if (connection == 0 || peer == nullptr) return;
    Member::Link& link = member.links.at(instance);
    link.peer = peer->id;
    link.connection = connection;
}

// A connection has no right to become another one unless the book knows why.
void Team::rally(Member& member, std::uint32_t instance, unsigned count, unsigned seed) {
    member.process->post("rally " + std::to_string(instance) + ' ' + std::to_string(count) + ' ' +
                         std::to_string(seed) + ' ' + std::to_string(member.links[instance].connection));
}

void Team::converse(Member& member, std::uint32_t instance) {
    rally(member, instance, 1, 0);
    collect(member);
}

void Team::awaitNames() {
    std::set<std::uint32_t> instances;
    for (const Member& member : m_members) instances.insert(member.instance);
    const std::set<std::string> names = Leftovers::namesOf(instances);
    const auto end = std::chrono::steady_clock::now() + Watchdog;
    const auto missing = [&] {
        const std::set<std::string> files = Leftovers::filesIn(meetingPlace());
        return std::find_if(names.begin(), names.end(), [&](const auto& name) { return !files.contains(name); });
    };
    for (auto name = missing(); name != names.end(); name = missing()) {
        if (std::chrono::steady_clock::now() > end) m_journal.finding("nobody has made again: " + *name);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void Team::settle() {
    for (const Member& member : m_members)
        if (member.process->hasEnded()) finding(member, "has died");
    for (Member& member : m_members) {
        if (member.stopped) continue;
        for (const auto& [instance, link] : member.links)
            if (const Member* const peer = at(instance); peer != nullptr && !peer->stopped)
                rally(member, instance, 1, 0);
    }
    for (Member& member : m_members) {
        if (member.stopped) continue;
        collect(member);
        for (auto& [instance, link] : member.links)
            if (Member* const peer = at(instance); peer != nullptr && !peer->stopped) {
                link.backlog = 0;
                peer->answers.insert(member.id);
            }
    }
    awaitEnds();
    for (Member& member : m_members)
        if (!member.stopped) member.figures = ask(member, "settle " + std::to_string(connectionsTo(member)));
}

void Team::awaitEnds() {
    const auto arrives = [&](const End& end) {
        const auto found = std::find_if(m_members.begin(), m_members.end(),
                                        [&](const Member& member) { return member.id == end.receiver; });
        if (found == m_members.end() || found->stopped) return false;
        ask(*found, "await " + end.stream);
        return true;
    };
    m_ends.erase(std::remove_if(m_ends.begin(), m_ends.end(), arrives), m_ends.end());
}

std::size_t Team::connectionsTo(const Member& member) const {
    std::size_t count = 0;
    for (const Member& other : m_members) {
        count += other.answers.count(member.id);
        for (const auto& [instance, link] : other.links)
            if (link.peer == member.id) ++count;
    }
    return count;
}

std::vector<Member*> Team::all() {
    std::vector<Member*> members;
    for (Member& member : m_members) members.push_back(&member);
    return members;
}

std::vector<Member*> Team::running(Member::Role role) {
    std::vector<Member*> members;
    for (Member& member : m_members)
        if (member.role == role && !member.stopped) members.push_back(&member);
    return members;
}

std::vector<Member*> Team::stopped() {
    std::vector<Member*> members;
    for (Member& member : m_members)
        if (member.stopped) members.push_back(&member);
    return members;
}

Member* Team::at(std::uint32_t instance) {
    const auto found = std::find_if(m_members.begin(), m_members.end(),
                                    [&](const Member& member) { return member.instance == instance; });
    return found == m_members.end() ? nullptr : &*found;
}

bool Team::isSettled(const Member& member) {
    const auto isIts = [&](const End& end) { return end.sender == member.id; };
    return std::none_of(m_ends.begin(), m_ends.end(), isIts) &&
           std::all_of(member.links.begin(), member.links.end(),
                       [&](const auto& entry) { return entry.second.peer != 0 || at(entry.first) == nullptr; });
}

std::string Team::errors() const {
    constexpr std::size_t Most = 4000;
    std::string all;
    for (const Member& member : m_members) {
        const std::string errors = member.process->errors();
        all += nameOf(member) + (member.stopped ? ", stopped" : "") + ":\n" +
               errors.substr(errors.size() > Most ? errors.size() - Most : 0);
    }
    return all;
}

void Team::finding(const Member& member, const std::string& text) {
    m_journal.finding(nameOf(member) + ' ' + text);
}
