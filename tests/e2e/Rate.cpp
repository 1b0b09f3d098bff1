#include "Rate.h"

#include <gtest/gtest.h>

#include <cstdio>

Rate Rate::readFrom(const std::string& text) {
    Rate rate;
    const int found = std::sscanf(text.c_str(), "transferred %llu bytes in %llu", &rate.bytes, &rate.milliseconds);
    if (found != 2 || rate.milliseconds == 0) {
        ADD_FAILURE() << "no rate in '" << text << "'";
        return rate;
    }
    std::string expected = "transferred " + std::to_string(rate.bytes) + " bytes in ";
    expected += std::to_string(rate.milliseconds) + " msec => ";
    expected += std::to_string(rate.bytes / rate.milliseconds * 8 / 1000) + " MBit/sec";
    EXPECT_EQ(text.substr(0, expected.size()), expected);
    if (text.size() > expected.size()) rate.rest = text.substr(expected.size());
    return rate;
}
