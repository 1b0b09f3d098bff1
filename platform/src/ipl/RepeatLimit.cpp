#include "ipl/RepeatLimit.h"

#include <utility>

namespace ipl {

bool RepeatLimit::admit(string& text, Clock::time_point now) {
    const std::scoped_lock lock(m_mutex);
    if (now < m_next) {
        ++m_heldBack;
        return false;
    }
    m_next = now + Interval;
    const std::uint64_t heldBack = std::exchange(m_heldBack, 0);
    if (heldBack != 0) text.append(" (and ").append(std::to_string(heldBack)).append(" more like it)");
    return true;
}

bool RepeatLimit::conclude(string& text) {
    const std::scoped_lock lock(m_mutex);
    const std::uint64_t heldBack = std::exchange(m_heldBack, 0);
    if (heldBack != 0) text.append(" (").append(std::to_string(heldBack)).append(" more like it)");
    return heldBack != 0;
}

}  // namespace ipl
