#pragma once

#include <chrono>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "Journal.h"

/// A worker as the driver knows it.
struct Member {
    enum Role { Service, Client, Poor };

    Role role;
    std::uint32_t id;
    std::uint32_t instance;
    std::unique_ptr<ChildProcess> process;
    bool stopped = false;
    bool starved = false;  ///< connections may have to wait
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();

    struct Link {
        std::uint32_t peer = 0;          ///< the worker at the other end, 0 while there is none
        std::uint32_t connection = 0;    ///< its number
        unsigned long long backlog = 0;  ///< bytes at most that the peer has not confirmed
    };
    std::map<std::uint32_t, Link> links{};  ///< by instance
    std::set<std::uint32_t> answers{};      ///< the workers to which it has a way back
    std::string figures = "0 0 0";          ///< as the worker told them last
};

/// All workers and the book about who must be connected to whom. Whatever disagrees with the book is a finding.
class Team {
  public:
    Team(std::string directory, Journal& journal) : m_directory(std::move(directory)), m_journal(journal) {}

    /// A private instance if `instance` is 0.
    Member& start(Member::Role role, std::uint32_t instance = 0);
    std::unique_ptr<ChildProcess> startHostile(const std::vector<std::string>& arguments);

    void stop(Member& member);
    void resume(Member& member);
    void kill(Member& member);
    /// Limits its descriptors or addresses, and lifts that limit again; connections to and from it may wait meanwhile.
    void starve(Member& member, const std::string& what, unsigned more);
    void feed(Member& member, const std::string& what);
    /// Ends it as its user would.
    void end(Member& member);
    void connect(Member& member, std::uint32_t instance);
    void disconnect(Member& member, std::uint32_t instance);
    /// Has it ask questions, without a wait for the end of it.
    void rally(Member& member, std::uint32_t instance, unsigned count, unsigned seed);
    /// The same with one question, and waits for it.
    void converse(Member& member, std::uint32_t instance);
    /// Sends a command and waits for the answer; what stands behind "ok".
    std::string ask(Member& member, const std::string& command);

    /// Where the workers' names are.
    std::string meetingPlace() const { return m_directory + "/zidbench"; }
    /// Waits until everybody has its names there.
    void awaitNames();

    /// Waits until every message has arrived that must, and everybody who runs serves and knows all its connections.
    void settle();

    std::vector<Member*> all();
    std::vector<Member*> running(Member::Role role);
    std::vector<Member*> stopped();
    /// How many connections it must have.
    std::size_t connectionsTo(const Member& member) const;
    /// Who is registered there, or null.
    Member* at(std::uint32_t instance);
    /// False while a stopped worker owes a word about its connections: they may be new, or not have sent all.
    bool isSettled(const Member& member);

    /// What killed workers were registered for, and nobody since.
    const std::set<std::uint32_t>& killed() const { return m_killed; }
    /// What the workers have written to standard error of late.
    std::string errors() const;
    void finish(ChildProcess& process, const std::string& name);

  private:
    struct End {
        std::uint32_t receiver;
        std::uint32_t sender;
        std::string stream;
    };

    std::string collect(Member& member);
    void up(Member& member, const std::string& line);
    void awaitEnds();
    void remove(Member& member);
    void addFigures(const Member& member);
    void addWarnings(const Member& member);
    [[noreturn]] void finding(const Member& member, const std::string& text);

    const std::string m_directory;
    Journal& m_journal;
    std::list<Member> m_members;
    std::vector<End> m_ends;  // streams that have ended and must arrive completely
    std::set<std::uint32_t> m_killed;
    std::uint32_t m_lastId = 0;
};
