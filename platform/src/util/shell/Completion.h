#pragma once

#include "shell/Command.h"

namespace util::shell {

/// The words that the word at the end of `text`, an unfinished line, may become: commands at its beginning, `--name`s
/// of its command after that, commands again after `help`. In their order of registration; the unfinished word may be
/// empty.
ipl::vector<ipl::string> completions(const ipl::string& text, const CommandList& commands);

/// The word at the end of `text` that is to be completed; empty after a blank.
ipl::string unfinishedWord(const ipl::string& text);

/// The longest beginning that all the words share.
ipl::string commonBeginning(const ipl::vector<ipl::string>& words);

}  // namespace util::shell
