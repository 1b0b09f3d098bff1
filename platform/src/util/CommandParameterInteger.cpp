#include "util/CommandParameterInteger.h"

#include <charconv>

namespace util {

void CommandParameterInteger::setProperties(const ipl::string& name, const ipl::string& description, int min, int max,
                                            int defaultValue, IntegerBase base) {
    m_name = name;
    m_description = description;
    m_min = min;
    m_max = max;
    m_default = defaultValue;
    m_base = base;
    m_value = defaultValue;
}

ipl::string CommandParameterInteger::range() const {
    return toText(m_min) + " to " + toText(m_max) + ", default " + toText(m_default);
}

ipl::string CommandParameterInteger::defaultText() const {
    return toText(m_default);
}

bool CommandParameterInteger::accepts(const ipl::string& text, ipl::string& refusal) const {
    const std::optional<int> value = parse(text);
    if (value && *value >= m_min && *value <= m_max) return true;
    refusal = m_name + " takes " + toText(m_min) + " to " + toText(m_max) + ", not '" + text + "'";
    return false;
}

void CommandParameterInteger::assign(const ipl::string& text) {
    if (const std::optional<int> value = parse(text)) m_value = *value;
}

std::optional<int> CommandParameterInteger::parse(const ipl::string& text) const {
    int value = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value, m_base == Decimal ? 10 : 16);
    if (error != std::errc() || stopped != end) return std::nullopt;
    return value;
}

ipl::string CommandParameterInteger::toText(int value) const {
    char digits[16];
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, value, m_base == Decimal ? 10 : 16);
    return {digits, end};
}

}  // namespace util
