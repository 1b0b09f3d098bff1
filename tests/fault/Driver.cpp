#include "Driver.h"

#include <sys/wait.h>

#include <cstdlib>

#include "Leftovers.h"

Driver::Driver(std::uint64_t seed, bool verbose)
    : m_dice(seed),
      m_journal(seed, verbose),
      m_team(m_directory.path(), m_journal),
      m_steps(m_team, m_journal, m_dice) {
    ::setenv("XDG_RUNTIME_DIR", m_directory.path().c_str(), 1);
    m_journal.more = [this] { return m_team.errors(); };
}

void Driver::run(std::chrono::seconds time) {
    const std::size_t descriptors = Leftovers::descriptors();
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) m_steps.next();
    m_journal.step("end");
    m_steps.calm();
    while (!m_team.all().empty()) m_team.end(*m_team.all().front());
    replaceLeftovers();
    checkNothingIsLeft(descriptors);
    m_journal.print();
}

// Only what killed workers could not remove may be there, and the next registration must make up for it.
void Driver::replaceLeftovers() {
    const std::set<std::uint32_t> killed = m_team.killed();
    const std::set<std::string> allowed = Leftovers::filesOf(killed);
    for (const std::string& file : Leftovers::filesIn(m_team.meetingPlace()))
        if (!allowed.contains(file)) m_journal.finding("left over: " + file);
    Member& worker = m_team.start(Member::Poor);
    for (const std::uint32_t instance : killed) m_team.ask(worker, "replace " + std::to_string(instance));
    m_team.end(worker);
}

void Driver::checkNothingIsLeft(std::size_t descriptors) {
    if (Leftovers::filesIn(m_team.meetingPlace()) != Leftovers::namesOf({}))
        m_journal.finding("something is left over after a new registration");
    if (::waitpid(-1, nullptr, WNOHANG) >= 0) m_journal.finding("a process is left over");
    if (Leftovers::descriptors() != descriptors) m_journal.finding("the driver has lost descriptors");
}
