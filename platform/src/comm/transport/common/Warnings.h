#pragma once

#include <map>
#include <mutex>

#include "ipl/RepeatLimit.h"
#include "ipl/string.h"

namespace comm::transport {

/// Writes a transport's warnings, no more than one a second of a kind. Any thread. Not with a lock held: standard error
/// may take nothing for as long as it likes.
class Warnings {
  public:
    /// `kind` is what the texts of a kind have in common, such as the fault without the process that it comes from.
    void write(const ipl::string& kind, ipl::string text, const char* function, const char* source);

  private:
    // Guards the map. Its elements stay where they are.
    std::mutex m_mutex;
    std::map<ipl::string, ipl::RepeatLimit> m_limits;
};

}  // namespace comm::transport
