#pragma once

#include <cstdint>
#include <ostream>

#include "Variant.h"

/// A small model of the ring: one writer, one reader, and no processor. Relacy runs them under any schedule and lets
/// each look see whatever C++ allows it to see.
namespace model {

enum class Finding {
    None,
    Asleep,  ///< a side sleeps for ever: the reader over records, or the writer while there is room
    Race,    ///< a record is read or written while the other side has it
    Wrong    ///< a record is lost, comes twice or is none, or a side takes the other one for a liar
};

std::ostream& operator<<(std::ostream& out, Finding finding);

struct Outcome {
    Finding finding = Finding::None;
    int places = 0;               ///< of the ring in which it was found,
    std::uint64_t schedules = 0;  ///< and how many were tried there until then
};

/// Tries so many schedules with each of some sizes of the ring, the same ones each time. Ends with the first finding,
/// the way to which it writes step by step to a stream that takes no memory from the heap, such as standard output.
Outcome explore(const Variant& variant, std::uint64_t schedules, std::ostream& history);

}  // namespace model
