#include "shell/TerminalLineSource.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "shell/Completion.h"
#include "shell/Message.h"

namespace util::shell {
namespace {

constexpr int HistoryLength = 500;

char* prompt(EditLine* editor) {
    // The editor takes over the terminal with the first key only; what is typed right behind the prompt is for it, too.
    el_set(editor, EL_PREP_TERM, 1);
    static char text[] = "zidbench> ";
    return text;
}

}  // namespace

std::unique_ptr<TerminalLineSource> TerminalLineSource::open(Completer completer) {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) return nullptr;
    Editor editor(el_init("zidbench", stdin, stdout, stderr), &el_end);
    Past past(history_init(), &history_end);
    if (!editor || !past) return nullptr;
    return std::unique_ptr<TerminalLineSource>(
        new TerminalLineSource(std::move(completer), std::move(editor), std::move(past)));
}

TerminalLineSource::TerminalLineSource(Completer completer, Editor editor, Past past)
    : m_completer(std::move(completer)), m_past(std::move(past)), m_editor(std::move(editor)) {
    setUp();
}

// A setting that fails leaves the line less comfortable, but usable.
void TerminalLineSource::setUp() {
    EditLine* editor = m_editor.get();
    HistEvent event{};
    history(m_past.get(), &event, H_SETSIZE, HistoryLength);
    history(m_past.get(), &event, H_SETUNIQUE, 1);
    el_set(editor, EL_CLIENTDATA, this);
    el_set(editor, EL_PROMPT, &prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 1);
    el_set(editor, EL_HIST, &history, m_past.get());
    const auto complete = [](EditLine* line, int /*key*/) -> unsigned char {
        void* self = nullptr;
        el_get(line, EL_CLIENTDATA, &self);
        return static_cast<TerminalLineSource*>(self)->complete();
    };
    el_set(editor, EL_ADDFN, "zid-complete", "completes a command's or parameter's name",
           static_cast<unsigned char (*)(EditLine*, int)>(complete));
    el_set(editor, EL_BIND, "^I", "zid-complete", nullptr);
}

std::optional<ipl::string> TerminalLineSource::readLine() {
    int length = 0;
    const char* line = el_gets(m_editor.get(), &length);
    if (line == nullptr || length <= 0) {
        tell("");  // the cursor still stands behind the prompt
        return std::nullopt;
    }
    const ipl::string text(line, static_cast<std::size_t>(length));
    if (text.find_first_not_of(" \t\r\n") != ipl::string::npos) remember(line);
    return text;
}

void TerminalLineSource::remember(const char* line) {
    HistEvent event{};
    history(m_past.get(), &event, H_ENTER, line);
}

unsigned char TerminalLineSource::complete() {
    const LineInfo* line = el_line(m_editor.get());
    const ipl::string before(line->buffer, line->cursor);
    const ipl::vector<ipl::string> words = m_completer(before);
    if (words.empty()) return CC_ERROR;
    const std::size_t typed = unfinishedWord(before).size();
    if (words.size() == 1) return insert(words.front().substr(typed) + ' ');
    const ipl::string common = commonBeginning(words);
    if (common.size() > typed) return insert(common.substr(typed));
    ipl::string all;
    for (const ipl::string& word : words) all += (all.empty() ? "\n" : "  ") + word;
    tell(all);
    return CC_REDISPLAY;
}

unsigned char TerminalLineSource::insert(const ipl::string& text) {
    return el_insertstr(m_editor.get(), text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

}  // namespace util::shell
