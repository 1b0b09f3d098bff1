#include <gtest/gtest.h>

#include <array>
#include <random>

#include "Traffic.h"

namespace comm::transport {
namespace {

class RingTest : public testing::Test {
  protected:
    ~RingTest() override {
        traffic.finish();
        EXPECT_EQ(traffic.fault, "");
    }

    const TestRing ring;
    Traffic traffic{ring};
};

TEST_F(RingTest, WhateverIsSentComesOnceAndInOrder) {
    constexpr std::array<std::uint32_t, 12> Sizes{0,
                                                  1,
                                                  7,
                                                  8,
                                                  9,
                                                  1000,
                                                  MaxPiece - 1,
                                                  MaxPiece,
                                                  MaxPiece + 1,
                                                  2 * MaxPiece,
                                                  Traffic::Longest - 1,
                                                  Traffic::Longest};
    std::mt19937 random(3);  // NOLINT(bugprone-random-generator-seed): the same order every time
    while (traffic.fault.empty() && (traffic.turns < 200 || traffic.timesFull < 200)) {
        // Now and then much more is sent than is read, and then the ring is full; otherwise the longest are left out.
        const bool flood = random() % 64 == 0;
        for (auto sends = flood ? 40 : random() % 4; sends > 0; --sends) {
            if (random() % 8 == 0) traffic.send({});
            traffic.send(Sizes[random() % (Sizes.size() - (flood ? 0 : 2))]);
        }
        if (random() % 4 == 0) traffic.sleep();
        if (random() % 4 == 0) traffic.tidy();
        if (random() % 3 != 0) traffic.read();
    }
    EXPECT_GT(traffic.furthest, RingMemory::Capacity - 2 * MaxPiece);
}

TEST_F(RingTest, SmallTrafficStaysInFewPages) {
    for (const std::uint32_t size : {0U, 1U, 4000U, TestRing::Stretch / 2 - 2 * recordSize(0)}) {
        traffic.sendAndRead(5000, size);
        EXPECT_FALSE(traffic.grown()) << size;
    }
    EXPECT_LE(ring.residentBytes(), ring.idleBytes());
    EXPECT_GT(traffic.turns, 1000);
}

}  // namespace
}  // namespace comm::transport
