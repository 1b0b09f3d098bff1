#pragma once

#include <string>

namespace transport {

/// Holds back what this process and its children write to standard error. For the main thread, while it is the only one
/// that writes there.
class StandardErrorCapture {
  public:
    StandardErrorCapture();
    StandardErrorCapture(const StandardErrorCapture&) = delete;
    StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;
    ~StandardErrorCapture();

    /// What was written so far, as one line.
    std::string text() const;

  private:
    int m_original;
    int m_captured;
};

}  // namespace transport
