#include "ipl/UUID.h"

namespace ipl {

string UUID::toString() const {
    static constexpr char Digits[] = "0123456789abcdef";
    string text;
    for (std::size_t i = 0; i < m_bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += Digits[m_bytes[i] >> 4];
        text += Digits[m_bytes[i] & 0xf];
    }
    return text;
}

}  // namespace ipl
