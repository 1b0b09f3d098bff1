#pragma once

#include <optional>

#include "shell/Command.h"

namespace util::shell {

/// Finds the value of each of a command's parameters in the words that follow the command.
///
/// `--name VALUE` and `--name=VALUE` set the parameter of that name. Any other word is the value of the first
/// parameter, in their order, that no word before it has set; parameters that need no value are set by name only. What
/// no word sets takes its default. The parameters are asked what they accept, nothing is assigned.
class ParameterValues {
  public:
    /// Takes the words of a line from the second one on. `command` must outlive the object.
    ParameterValues(const Command& command, const ipl::vector<ipl::string>& words);

    /// Why the words are refused; empty if they are not.
    const ipl::string& refusal() const { return m_refusal; }

    /// One value per parameter, each accepted by it or its default; meaningless after a refusal.
    ipl::vector<ipl::string> complete() const;

  private:
    void takeNamed(const ipl::string& word, const ipl::string* next);
    void takePositional(const ipl::string& word);
    void set(std::size_t index, const ipl::string& value);
    void refuseUnknown(const ipl::string& name);
    void refuseSurplus(const ipl::string& word);
    std::size_t indexOf(const ipl::string& name) const;

    const Command& m_command;
    ipl::vector<std::optional<ipl::string>> m_values;
    bool m_nextTaken = false;  // the word after the current one was its value
    ipl::string m_refusal;
};

}  // namespace util::shell
