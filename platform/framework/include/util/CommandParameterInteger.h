#pragma once

#include <atomic>
#include <optional>

#include "util/CommandParameter.h"

namespace util {

/// An integer parameter with a range. Its value may be read on any thread at any time.
class CommandParameterInteger final : public CommandParameter {
  public:
    /// In which base values are typed and shown.
    enum IntegerBase { Hexadecimal = 0, Decimal = 1 };

    CommandParameterInteger() = default;

    /// Describes the parameter: both ends of the range belong to it. The value becomes the default.
    void setProperties(const ipl::string& name, const ipl::string& description, int min, int max, int defaultValue,
                       IntegerBase base);

    /// The current value.
    operator int() const { return m_value; }

    const ipl::string& name() const override { return m_name; }
    const ipl::string& description() const override { return m_description; }
    ipl::string range() const override;
    ipl::string defaultText() const override;
    bool accepts(const ipl::string& text, ipl::string& refusal) const override;
    void assign(const ipl::string& text) override;

  private:
    std::optional<int> parse(const ipl::string& text) const;
    ipl::string toText(int value) const;

    ipl::string m_name;
    ipl::string m_description;
    int m_min = 0;
    int m_max = 0;
    int m_default = 0;
    IntegerBase m_base = Decimal;
    std::atomic<int> m_value{0};
};

}  // namespace util
