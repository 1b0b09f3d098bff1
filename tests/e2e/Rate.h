#pragma once

#include <string>

/// What a receiver of files tells about its speed.
struct Rate {
    /// Reads it from where a text begins, and checks its format to the character and its arithmetic.
    static Rate readFrom(const std::string& text);

    unsigned long long bytes = 0;
    unsigned long long milliseconds = 0;
    std::string rest;  ///< of the text, behind it
};
