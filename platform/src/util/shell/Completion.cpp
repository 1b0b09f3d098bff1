#include "shell/Completion.h"

#include <algorithm>

#include "shell/Builtins.h"

namespace util::shell {
namespace {

constexpr const char* Blanks = " \t";

ipl::string firstWord(const ipl::string& text) {
    const std::size_t begin = std::min(text.find_first_not_of(Blanks), text.size());
    const std::size_t end = text.find_first_of(Blanks, begin);
    return end == ipl::string::npos ? "" : text.substr(begin, end - begin);
}

ipl::vector<ipl::string> parameterNames(const Command* command) {
    ipl::vector<ipl::string> names;
    if (command != nullptr)
        for (const CommandParameter* parameter : command->parameters) names.push_back("--" + parameter->name());
    return names;
}

}  // namespace

ipl::vector<ipl::string> completions(const ipl::string& text, const CommandList& commands) {
    const ipl::string first = firstWord(text);
    const bool wantsCommand = first.empty() || first == Builtins::HelpName;
    ipl::vector<ipl::string> words = wantsCommand ? commands.listedNames() : parameterNames(commands.find(first));
    const ipl::string beginning = unfinishedWord(text);
    std::erase_if(words, [&beginning](const ipl::string& word) { return word.rfind(beginning, 0) != 0; });
    return words;
}

ipl::string unfinishedWord(const ipl::string& text) {
    const std::size_t blank = text.find_last_of(Blanks);
    return blank == ipl::string::npos ? text : text.substr(blank + 1);
}

ipl::string commonBeginning(const ipl::vector<ipl::string>& words) {
    if (words.empty()) return {};
    std::size_t length = words.front().size();
    for (const ipl::string& word : words) {
        const auto [left, right] = std::mismatch(word.begin(), word.end(), words.front().begin(), words.front().end());
        length = std::min(length, static_cast<std::size_t>(left - word.begin()));
    }
    return words.front().substr(0, length);
}

}  // namespace util::shell
