#pragma once

#include <optional>

#include "ipl/string.h"

namespace util::shell {

/// Where the lines come from. One thread uses it.
class LineSource {
  public:
    LineSource(const LineSource&) = delete;
    LineSource& operator=(const LineSource&) = delete;
    virtual ~LineSource() = default;

    /// Waits for the next line; nothing at the end of the input. Of a line too long for a command only the beginning.
    virtual std::optional<ipl::string> readLine() = 0;

    /// Whether a person types the lines: the prompt has to come back, and after the end of the input more may follow.
    virtual bool isInteractive() const = 0;

  protected:
    LineSource() = default;
};

}  // namespace util::shell
