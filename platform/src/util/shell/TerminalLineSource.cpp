#include "shell/TerminalLineSource.h"

#include <unistd.h>

#include <cstdio>
#include <utility>

#include "shell/Completion.h"
#include "shell/Message.h"

namespace util::shell {
namespace {

constexpr int HistoryLength = 500;
char promptText[] = "zidbench> ";

char* prompt(EditLine* editor) {
    // The editor takes over the terminal with the first key only; what is typed right behind the prompt is for it, too.
    el_set(editor, EL_PREP_TERM, 1);
    return promptText;
}

}  // namespace

std::unique_ptr<TerminalLineSource> TerminalLineSource::open(Completer completer) {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) return nullptr;
    TerminalOutput* const output = TerminalOutput::open();
    if (output == nullptr) return nullptr;
    Editor editor(el_init("zidbench", stdin, output->terminal(), output->terminal()), &el_end);
    Past past(history_init(), &history_end);
    if (!editor || !past) return nullptr;
    return std::unique_ptr<TerminalLineSource>(
        new TerminalLineSource(std::move(completer), *output, std::move(editor), std::move(past)));
}

TerminalLineSource::TerminalLineSource(Completer completer, TerminalOutput& output, Editor editor, Past past)
    : m_completer(std::move(completer)),
      m_output(output),
      m_past(std::move(past)),
      m_editor(std::move(editor)),
      m_line(m_editor.get(), sizeof promptText - 1) {
    setUp();
}

TerminalLineSource& TerminalLineSource::of(EditLine* editor) {
    void* self = nullptr;
    el_get(editor, EL_CLIENTDATA, &self);
    return *static_cast<TerminalLineSource*>(self);
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
    el_set(editor, EL_HIST, &history, m_past.get());
    const auto readKey = [](EditLine* line, wchar_t* key) { return of(line).readKey(key); };
    el_wset(editor, EL_GETCFN, static_cast<el_rfunc_t>(readKey));
    const auto complete = [](EditLine* line, int /*key*/) { return of(line).complete(); };
    el_set(editor, EL_ADDFN, "zid-complete", "completes a command's or parameter's name",
           static_cast<unsigned char (*)(EditLine*, int)>(complete));
    el_set(editor, EL_BIND, "^I", "zid-complete", nullptr);
}

std::optional<ipl::string> TerminalLineSource::readLine() {
    TerminalSignals signals;
    m_signals = &signals;
    m_output.acquire();
    el_resize(m_editor.get());  // a change while no line was read
    int length = 0;
    const char* line = el_gets(m_editor.get(), &length);
    m_output.release();
    if (line == nullptr || length <= 0) {
        tell("");  // the cursor still stands behind the prompt
        return std::nullopt;
    }
    const ipl::string text(line, static_cast<std::size_t>(length));
    if (text.find_first_not_of(" \t\r\n") != ipl::string::npos) remember(line);
    return text;
}

// The editor waits for its keys here. The key itself is read by its own function.
int TerminalLineSource::readKey(wchar_t* key) {
    for (TerminalSignals::Event event = waitForEvent(); event != TerminalSignals::Event::Key; event = waitForEvent())
        handle(event);
    el_rfunc_t own = nullptr;
    el_wget(m_editor.get(), EL_GETCFN, &own);
    el_wset(m_editor.get(), EL_GETCFN, EL_BUILTIN_GETCFN);
    const int count = el_wgetc(m_editor.get(), key);
    el_wset(m_editor.get(), EL_GETCFN, own);
    return count;
}

TerminalSignals::Event TerminalLineSource::waitForEvent() {
    m_output.releaseAbove(m_line.isShown() ? &m_line : nullptr);
    const TerminalSignals::Event event = m_signals->wait();
    m_output.reacquire();
    return event;
}

void TerminalLineSource::handle(TerminalSignals::Event event) {
    EditLine* editor = m_editor.get();
    switch (event) {
        case TerminalSignals::Event::Key:
            return;
        case TerminalSignals::Event::Resized:
            el_resize(editor);
            TerminalOutput::print(m_line.erasure());
            break;
        case TerminalSignals::Event::Stop:
            TerminalOutput::print(m_line.erasure());
            el_set(editor, EL_PREP_TERM, 0);
            m_signals->stop();
            el_set(editor, EL_PREP_TERM, 1);
            break;
        case TerminalSignals::Event::Resumed:  // the terminal's state and the cursor's place may be anyone's
            TerminalOutput::print("\r");
            el_set(editor, EL_PREP_TERM, 0);
            el_set(editor, EL_PREP_TERM, 1);
            break;
    }
    m_line.draw();
}

void TerminalLineSource::remember(const char* line) {
    HistEvent event{};
    history(m_past.get(), &event, H_ENTER, line);
}

unsigned char TerminalLineSource::complete() {
    const LineInfo* line = el_line(m_editor.get());
    const ipl::string before(line->buffer, line->cursor);
    m_output.releaseAbove(&m_line);
    const ipl::vector<ipl::string> words = m_completer(before);
    m_output.reacquire();
    if (words.empty()) return CC_ERROR;
    const std::size_t typed = unfinishedWord(before).size();
    if (words.size() == 1) return insert(words.front().substr(typed) + ' ');
    const ipl::string common = commonBeginning(words);
    if (common.size() > typed) return insert(common.substr(typed));
    ipl::string all;
    for (const ipl::string& word : words) all += (all.empty() ? "" : "  ") + word;
    TerminalOutput::print(m_line.erasure() + all + '\n');
    m_line.draw();
    return CC_NORM;
}

unsigned char TerminalLineSource::insert(const ipl::string& text) {
    return el_insertstr(m_editor.get(), text.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
}

}  // namespace util::shell
