#pragma once

#include "ipl/ErrorStorage.h"

namespace ipl {

/// An error storage that writes the errors nobody acknowledged to standard output when it ends, one line each.
class StdoutDumpErrorStorage final : public ErrorStorage {
  public:
    StdoutDumpErrorStorage() = default;
    ~StdoutDumpErrorStorage() override;
};

}  // namespace ipl
