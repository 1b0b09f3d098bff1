#pragma once

#include <string>
#include <vector>

namespace bench {

/// What is wanted of the figures, and whether they are so. A figure that is no number never is.
class Verdicts {
  public:
    void wantAtLeast(double least, const std::string& what, double figure);
    void wantAtMost(double most, const std::string& what, double figure);

    /// Prints a line for each to standard output, in the order of the calls. Returns true when one is NO.
    [[nodiscard]] bool print(bool markdown) const;

  private:
    struct Verdict {
        std::string what;
        double figure;
        std::string wanted;
        bool holds;
    };

    std::vector<Verdict> m_verdicts;
};

}  // namespace bench
