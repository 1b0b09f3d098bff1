#include "shell/NearestName.h"

#include <algorithm>
#include <numeric>

namespace util::shell {
namespace {

bool sameLetter(char left, char right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return lower(left) == lower(right);
}

// How many letters must be put in, taken out or replaced to make one of the other.
std::size_t editDistance(const ipl::string& left, const ipl::string& right) {
    ipl::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (const char letter : left) {
        std::size_t diagonal = row[0]++;
        for (std::size_t i = 0; i < right.size(); ++i) {
            const std::size_t replaced = diagonal + (sameLetter(letter, right[i]) ? 0 : 1);
            diagonal = row[i + 1];
            row[i + 1] = std::min({replaced, row[i] + 1, row[i + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

ipl::string nearestName(const ipl::string& word, const ipl::vector<ipl::string>& names) {
    ipl::string nearest;
    std::size_t limit = word.size() / 3 + 2;  // a slip is two letters exchanged, in a long word some more
    for (const ipl::string& name : names) {
        const std::size_t distance = editDistance(word, name);
        if (distance >= limit) continue;
        limit = distance;
        nearest = name;
    }
    return nearest;
}

}  // namespace util::shell
