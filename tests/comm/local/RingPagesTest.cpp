#include <fcntl.h>
#include <gtest/gtest.h>

#include "Traffic.h"

namespace comm::transport {
namespace {

// By the size of a page, as it is or as it is on other machines.
class RingPagesTest : public testing::TestWithParam<std::uint32_t> {
  protected:
    // Where in the file the pages end that hold the beginning of the ring.
    std::uint32_t endOfPages() const {
        return static_cast<std::uint32_t>(::lseek(ring.file.get(), ControlSize, SEEK_HOLE));
    }
    std::uint32_t endOfPage(std::uint32_t offset) const {
        return std::min((ControlSize + offset + ring.page - 1) / ring.page * ring.page, FileSize);
    }

    static constexpr std::uint32_t ControlSize = 4096;
    static constexpr std::uint32_t FileSize = ControlSize + RingMemory::Capacity;

    TestRing ring{GetParam()};
    Traffic traffic{ring};
};

TEST_P(RingPagesTest, WholePagesAreMadeAndGivenBack) {
    for (const std::uint32_t offset : {32U << 10, 64U << 10, 300U << 10, RingMemory::Capacity}) {
        EXPECT_FALSE(ring.view.populate(offset / 2, offset)) << offset;
        EXPECT_FALSE(ring.view.populate(0, offset)) << offset;
        EXPECT_EQ(endOfPages(), endOfPage(offset)) << offset;
    }
    for (const std::uint32_t offset : {RingMemory::Capacity, RingMemory::Capacity - 1, 300U << 10, 64U << 10, 1U}) {
        EXPECT_FALSE(ring.view.discard(offset)) << offset;
        EXPECT_EQ(endOfPages(), endOfPage(offset)) << offset;
    }
}

TEST_P(RingPagesTest, ARingGrowsByABacklogAndGivesThePagesBack) {
    for (int round = 0; round < 5; ++round) {
        traffic.sendAndRead(10 * round, 3000);
        for (int i = 0; i < 4; ++i) traffic.send(Traffic::Longest);
        for (int i = 0; i < 4; ++i) traffic.tidy();
        EXPECT_GE(ring.residentBytes(), 4 * Traffic::Longest) << "pages in use are given back";
        traffic.finish();
        // Nothing was written since the last call; otherwise the one after the next gives back.
        if (round % 2 == 1) {
            traffic.sendAndRead(3, 5000);
            traffic.sleep();
            traffic.tidy();
        }
        EXPECT_TRUE(traffic.grown());
        traffic.tidy();
        EXPECT_FALSE(traffic.grown());
        EXPECT_LE(ring.residentBytes(), ring.idleBytes());
    }
    EXPECT_EQ(traffic.fault, "");
}

INSTANTIATE_TEST_SUITE_P(, RingPagesTest,
                         testing::Values(RingMemory::systemPageSize(), 16U << 10, 64U << 10, 256U << 10));

}  // namespace
}  // namespace comm::transport
