#pragma once

#include "ipl/string.h"

namespace ipl {

/// Reports an error that the code at one place has detected to the error storage in force.
class ErrorOutput {
  public:
    /// `source` is the path of the reporting source file and must outlive the object.
    ErrorOutput(const char* source, int line) : m_source(source), m_line(line) {}

    /// Makes the error the pending one of the calling thread; `reason` is what the thread will read back.
    void report(const char* type, int code, const string& reason) const;

  private:
    const char* m_source;
    int m_line;
};

}  // namespace ipl
