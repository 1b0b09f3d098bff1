#pragma once

#include <charconv>
#include <string_view>
#include <system_error>

namespace bench {

/// Reads a decimal number that makes up the whole text and lies from `least` to `most`. Returns true on failure, with
/// `number` unchanged.
template <class T>
[[nodiscard]] bool parseNumber(std::string_view text, T least, T most, T& number) {
    T value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc{} || stop != end || !(value >= least && value <= most)) return true;
    number = value;
    return false;
}

}  // namespace bench
