#pragma once

#include "ipl/string.h"
#include "ipl/vector.h"

namespace util::shell {

/// The one of `names` that the user who typed `word` most likely meant, or an empty string if none is near. Upper and
/// lower case count as the same letter.
ipl::string nearestName(const ipl::string& word, const ipl::vector<ipl::string>& names);

}  // namespace util::shell
