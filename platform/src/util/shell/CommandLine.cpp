#include "shell/CommandLine.h"

#include <algorithm>

#include "shell/NearestName.h"
#include "shell/ParameterValues.h"

namespace util::shell {
namespace {

constexpr const char* Blanks = " \t";

ipl::string trimmed(const ipl::string& text) {
    const std::size_t begin = text.find_first_not_of(Blanks);
    if (begin == ipl::string::npos) return {};
    return text.substr(begin, text.find_last_not_of(Blanks) + 1 - begin);
}

// Without the line's end, which may be that of another system.
ipl::string withoutEnd(const ipl::string& text) {
    return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

ipl::string withoutComment(const ipl::string& text) {
    bool atWord = true;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (atWord && text[i] == '#') return text.substr(0, i);
        atWord = text[i] == ' ' || text[i] == '\t';
    }
    return text;
}

// Why no line may look like this, or nothing. What passes can be shown on any terminal.
ipl::string unreadable(const ipl::string& text) {
    if (text.size() > CommandLine::MaxLength)
        return "the line is longer than " + std::to_string(CommandLine::MaxLength) + " characters";
    const bool printable = std::all_of(text.begin(), text.end(), [](char c) {
        const auto code = static_cast<unsigned char>(c);
        return c == '\t' || (code >= ' ' && code <= '~');
    });
    return printable ? "" : "the line holds a character that is not printable ASCII";
}

ipl::vector<ipl::string> split(const ipl::string& text) {
    ipl::vector<ipl::string> words;
    std::size_t begin = text.find_first_not_of(Blanks);
    while (begin != ipl::string::npos) {
        const std::size_t end = text.find_first_of(Blanks, begin);
        words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(Blanks, end);
    }
    return words;
}

}  // namespace

CommandLine::CommandLine(const ipl::string& text, const CommandList& commands) {
    const ipl::string content = withoutEnd(withoutComment(text));
    m_refusal = unreadable(content);
    m_text = trimmed(content);
    if (m_text.empty() || !m_refusal.empty()) return;
    m_inBackground = m_text.back() == '&';
    if (m_inBackground) m_text = trimmed(m_text.substr(0, m_text.size() - 1));
    if (m_text.empty())
        m_refusal = "there is no command before the &";
    else
        interpret(split(m_text), commands);
}

void CommandLine::interpret(const ipl::vector<ipl::string>& words, const CommandList& commands) {
    const Command* command = commands.find(words.front());
    if (command == nullptr) {
        m_refusal = unknownCommand(words.front(), commands);
        return;
    }
    if (m_inBackground && command->service == nullptr) {
        m_refusal = command->name + " is the shell's own and does not run in the background: leave out the &";
        return;
    }
    const ParameterValues values(*command, words);
    m_refusal = values.refusal();
    if (!m_refusal.empty()) return;
    m_command = *command;
    m_values = values.complete();
}

ipl::string unknownCommand(const ipl::string& name, const CommandList& commands) {
    const ipl::string nearest = nearestName(name, commands.listedNames());
    return "unknown command '" + name +
           "': " + (nearest.empty() ? "help lists what there is" : "did you mean " + nearest + "?");
}

}  // namespace util::shell
