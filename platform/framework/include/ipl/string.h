#pragma once

#include <string>

namespace ipl {

template <class Char>
using basic_string = std::basic_string<Char>;

using string = basic_string<char>;

}  // namespace ipl
