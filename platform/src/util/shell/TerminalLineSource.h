#pragma once

#include <histedit.h>

#include <functional>
#include <memory>

#include "ipl/vector.h"
#include "shell/EditedLine.h"
#include "shell/LineSource.h"
#include "shell/TerminalSignals.h"

namespace util::shell {

/// Lines typed in a terminal: a prompt, editing, a history as long as the object lives, and completion with the
/// tabulator. What is printed meanwhile comes above the line. While no line is read the terminal is as it was before; a
/// signal that ends or stops the process restores it too.
class TerminalLineSource final : public LineSource {
  public:
    /// Gives the words that the end of an unfinished line may become.
    using Completer = std::function<ipl::vector<ipl::string>(const ipl::string&)>;

    /// Uses standard input and output; null if they are no terminal that can be edited on.
    static std::unique_ptr<TerminalLineSource> open(Completer completer);

    std::optional<ipl::string> readLine() override;
    bool isInteractive() const override { return true; }

  private:
    using Editor = std::unique_ptr<EditLine, decltype(&el_end)>;
    using Past = std::unique_ptr<History, decltype(&history_end)>;

    TerminalLineSource(Completer completer, TerminalOutput& output, Editor editor, Past past);

    static TerminalLineSource& of(EditLine* editor);
    void setUp();
    void remember(const char* line);
    int readKey(wchar_t* key);
    TerminalSignals::Event waitForEvent();
    void handle(TerminalSignals::Event event);
    unsigned char complete();
    unsigned char insert(const ipl::string& text);

    Completer m_completer;
    TerminalOutput& m_output;
    Past m_past;  // the editor uses it
    Editor m_editor;
    EditedLine m_line;
    TerminalSignals* m_signals = nullptr;  // while a line is read
};

}  // namespace util::shell
