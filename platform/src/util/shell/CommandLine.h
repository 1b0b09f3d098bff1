#pragma once

#include "shell/Command.h"

namespace util::shell {

/// One line of input, taken apart and checked: nothing to do, a refusal, or a command with its values.
///
/// Words are separated by blanks. A word that begins with `#` and all after it is comment. `&` at the end lets the
/// command run beside the next lines. For the parameters see `ParameterValues`.
class CommandLine {
  public:
    /// How many characters a line may have, its comment not counted.
    static constexpr std::size_t MaxLength = 1024;

    CommandLine(const ipl::string& text, const CommandList& commands);

    /// Whether the line holds nothing but blanks and comment.
    bool isEmpty() const { return m_text.empty() && m_refusal.empty(); }

    /// Why the line is refused, for the user; empty if it is not.
    const ipl::string& refusal() const { return m_refusal; }

    // The rest is meaningful for a line that is neither empty nor refused.

    const Command& command() const { return m_command; }
    /// One value per parameter, each accepted by it.
    const ipl::vector<ipl::string>& values() const { return m_values; }
    bool inBackground() const { return m_inBackground; }
    /// The line as it was typed, without `&` and comment.
    const ipl::string& text() const { return m_text; }

  private:
    void interpret(const ipl::vector<ipl::string>& words, const CommandList& commands);

    ipl::string m_text;
    ipl::string m_refusal;
    Command m_command;
    ipl::vector<ipl::string> m_values;
    bool m_inBackground = false;
};

/// Tells the user that there is no such command, and which one may be meant.
ipl::string unknownCommand(const ipl::string& name, const CommandList& commands);

}  // namespace util::shell
