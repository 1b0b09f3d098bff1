#include "Journal.h"

#include <unistd.h>

#include <iostream>

Journal::Journal(std::uint64_t seed, bool verbose) : m_seed(seed), m_verbose(verbose) {
    std::cout << "fault_suite: seed " << seed << std::endl;
}

void Journal::step(const std::string& kind) {
    if (m_verbose && !m_steps.empty()) std::cout << m_steps.back() << std::endl;
    ++m_kinds[kind];
    m_steps.push_back("step " + std::to_string(++m_number) + ": " + kind);
    if (m_steps.size() > Remembered) m_steps.pop_front();
}

void Journal::note(const std::string& text) {
    m_steps.back() += ", " + text;
}

void Journal::print() const {
    std::cout << "fault_suite: no finding in " << m_number << " steps:";
    for (const auto& [kind, count] : m_kinds) std::cout << ' ' << count << ' ' << kind << ',';
    for (const auto& [what, count] : m_counts) std::cout << ' ' << count << ' ' << what << ';';
    std::cout << " seed " << m_seed << std::endl;
}

void Journal::finding(const std::string& text) const {
    std::cout << "fault_suite: FINDING: " << text << "\nseed " << m_seed << ", the last steps:\n";
    for (const std::string& step : m_steps) std::cout << "  " << step << '\n';
    std::cout << (more ? more() : "") << std::flush;
    ::_exit(1);
}
