#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>

/// What could be left over.
namespace Leftovers {

/// Of this process. A descriptor counts once for being open, and once for each time that it is watched, which may go on
/// after it was closed.
std::size_t descriptors();
std::size_t mappedRings();

std::size_t linesWith(const std::string& text, const std::string& path);

/// The names in a directory.
std::set<std::string> filesIn(const std::string& directory);

/// The names that each registration has, and the one that is always in the runtime directory.
std::set<std::string> namesOf(const std::set<std::uint32_t>& instances);
/// The names that a killed process leaves behind at most.
std::set<std::string> filesOf(const std::set<std::uint32_t>& instances);

}  // namespace Leftovers
