#pragma once

#include <histedit.h>

#include "shell/TerminalOutput.h"

namespace util::shell {

/// The line in an editor that waits for a key.
class EditedLine final : public TerminalOutput::Line {
  public:
    /// The editor must outlive the object. `promptWidth`: the columns of what stands before the line.
    EditedLine(EditLine* editor, std::size_t promptWidth) : m_editor(editor), m_promptWidth(promptWidth) {}

    /// Whether the editor shows the line. On a terminal that it cannot edit on the terminal itself does.
    bool isShown() const;

    ipl::string erasure() const override;
    void draw() override;

  private:
    int number(const char* capability) const;
    ipl::string text(const char* capability) const;
    int cursorRow() const;

    EditLine* m_editor;
    std::size_t m_promptWidth;
};

}  // namespace util::shell
