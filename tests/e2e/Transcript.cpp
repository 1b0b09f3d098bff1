#include "Transcript.h"

#include <algorithm>

namespace {

bool matches(const std::string& line, const std::string& pattern) {
    if (pattern.empty() || pattern.back() != '*') return line == pattern;
    return line.compare(0, pattern.size() - 1, pattern, 0, pattern.size() - 1) == 0;
}

}  // namespace

std::vector<std::string> Transcript::lines() const {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = m_text.find('\n', begin)) != std::string::npos; begin = end + 1)
        lines.push_back(m_text.substr(begin, end - begin));
    return lines;
}

std::size_t Transcript::count(const std::string& pattern) const {
    const std::vector<std::string> all = lines();
    return static_cast<std::size_t>(
        std::count_if(all.begin(), all.end(), [&pattern](const std::string& line) { return matches(line, pattern); }));
}

testing::AssertionResult Transcript::holdsInOrder(const std::vector<std::string>& patterns) const {
    const std::vector<std::string> all = lines();
    auto at = all.begin();
    for (const std::string& pattern : patterns) {
        at = std::find_if(at, all.end(), [&pattern](const std::string& line) { return matches(line, pattern); });
        if (at == all.end()) return testing::AssertionFailure() << "no '" << pattern << "' in its place in\n" << m_text;
        ++at;
    }
    return testing::AssertionSuccess();
}

bool Transcript::take(const std::string& pattern, std::size_t& index) {
    const std::vector<std::string> all = lines();
    for (index = 0; index < all.size(); ++index)
        if (matches(all[index], pattern) && m_taken.insert(index).second) return true;
    return false;
}

bool Transcript::pass(const std::string& text) {
    const std::size_t found = m_text.find(text, m_passed);
    if (found == std::string::npos) return false;
    m_passed = found + text.size();
    return true;
}
