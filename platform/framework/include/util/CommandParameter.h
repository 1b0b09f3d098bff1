#pragma once

#include "ipl/string.h"

namespace util {

/// One parameter of a shell command. The command's service owns it and reads its value; the shell writes it.
///
/// The shell calls `assign` on the command's thread, right before the command is delivered, and everything else on the
/// thread that reads the lines, perhaps at the same time. None of the operations may call the shell.
class CommandParameter {
  public:
    CommandParameter(const CommandParameter&) = delete;
    CommandParameter& operator=(const CommandParameter&) = delete;
    virtual ~CommandParameter() = default;

    virtual const ipl::string& name() const = 0;
    virtual const ipl::string& description() const = 0;

    /// What it accepts and what it takes when left out, for help texts, such as "1 to 99, default 2".
    virtual ipl::string range() const = 0;
    /// The default in the form in which a user would type it.
    virtual ipl::string defaultText() const = 0;
    /// The value that `--name` alone stands for. Empty, as usual, means that a value must follow.
    virtual ipl::string impliedText() const { return {}; }

    /// Whether `text` is a value that the parameter accepts; if not, `refusal` says why. Changes nothing.
    virtual bool accepts(const ipl::string& text, ipl::string& refusal) const = 0;
    /// Takes a value that `accepts` has let through.
    virtual void assign(const ipl::string& text) = 0;

  protected:
    CommandParameter() = default;
};

}  // namespace util
