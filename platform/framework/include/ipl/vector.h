#pragma once

#include <vector>

namespace ipl {

template <class Element>
using vector = std::vector<Element>;

}  // namespace ipl
