#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstring>
#include <random>

#include "FileDescriptor.h"
#include "FrameReader.h"
#include "TestService.h"

namespace comm::transport {
namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes frame(std::uint16_t kind, std::uint16_t handleSize, const Bytes& body, std::uint32_t length) {
    const FrameHeader header{length, kind, handleSize};
    Bytes bytes(sizeof header + body.size());
    std::memcpy(bytes.data(), &header, sizeof header);
    std::copy(body.begin(), body.end(), bytes.begin() + sizeof header);
    return bytes;
}

Bytes frame(std::uint16_t kind, std::uint16_t handleSize, const Bytes& body) {
    return frame(kind, handleSize, body, static_cast<std::uint32_t>(body.size()));
}

Bytes counting(std::size_t size, std::uint8_t first) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes) byte = first++;
    return bytes;
}

class FrameReaderTest : public testing::Test, protected FrameReader::Sink {
  protected:
    FrameReaderTest() {
        int ends[2];
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
        m_writer = FileDescriptor(ends[0]);
        m_reader = FileDescriptor(ends[1]);
    }

    FrameReader::Result feed(const Bytes& bytes) {
        EXPECT_EQ(::write(m_writer.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        return reader.read(m_reader.get(), *this);
    }
    FrameReader::Result hangUp() {
        m_writer.reset();
        return reader.read(m_reader.get(), *this);
    }

    bool greeted(const GreetingBody&) override {
        seen.emplace_back("greeting");
        return false;
    }
    bool received(const Message& message) override {
        const std::string size = message.data ? std::to_string(message.data->size) : "none";
        const bool right = !message.data || countsUpFrom(*message.data, static_cast<std::uint8_t>(message.handleSize));
        seen.push_back(std::to_string(message.handleSize) + ':' + size + (right ? "" : " wrong"));
        return stopAt != 0 && seen.size() >= stopAt;
    }

    FrameReader reader;
    std::vector<std::string> seen;
    std::size_t stopAt = 0;

  private:
    FileDescriptor m_writer;
    FileDescriptor m_reader;
};

TEST_F(FrameReaderTest, FramesAreFoundHoweverTheyAreCut) {
    Bytes stream = frame(FrameHeader::Greeting, 0, Bytes(sizeof(GreetingBody)));
    std::vector<std::string> expected{"greeting"};
    for (std::uint16_t i = 0; i < 60; ++i) {
        const std::size_t size = i % 20 == 7 ? 100000 : i * 11;
        const Bytes next = i % 3 == 0
                               ? frame(FrameHeader::Call, i, {})
                               : frame(FrameHeader::CallWithArray, i, counting(size, static_cast<std::uint8_t>(i)));
        stream.insert(stream.end(), next.begin(), next.end());
        expected.push_back(std::to_string(i) + ':' + (i % 3 == 0 ? "none" : std::to_string(size)));
    }
    std::mt19937 random(7);
    std::uniform_int_distribution<std::size_t> longest(1, 9000);
    for (std::size_t at = 0; at < stream.size();) {
        // Short cuts first, so that headers are cut too.
        const std::size_t wish = at < 600 ? 1 : std::uniform_int_distribution<std::size_t>(1, longest(random))(random);
        const std::size_t count = std::min(wish, stream.size() - at);
        const auto begin = stream.begin() + static_cast<std::ptrdiff_t>(at);
        ASSERT_EQ(feed(Bytes(begin, begin + static_cast<std::ptrdiff_t>(count))), FrameReader::Result::MoreToCome);
        at += count;
    }
    EXPECT_EQ(seen, expected);
    EXPECT_EQ(hangUp(), FrameReader::Result::Ended);
}

TEST_F(FrameReaderTest, WhatMakesNoSenseBreaksTheConnection) {
    const Bytes wrong[] = {
        frame(0, 0, {}),
        frame(0x7777, 0, {}),
        frame(FrameHeader::Call, 0, {}, 1),
        frame(FrameHeader::Greeting, 0, Bytes(10)),
        frame(FrameHeader::CallWithArray, 0, {}, MaxArray + 1),
        frame(FrameHeader::CallWithArray, 0, {}, 0xffffffff),
    };
    for (const Bytes& bytes : wrong) {
        reader = FrameReader();
        EXPECT_EQ(feed(bytes), FrameReader::Result::Broken);
        EXPECT_STRNE(reader.fault(), "");
    }
    EXPECT_TRUE(seen.empty());
}

TEST_F(FrameReaderTest, AHalfMessageAtTheEndIsNotDelivered) {
    EXPECT_EQ(feed(frame(FrameHeader::CallWithArray, 1, counting(10, 1), 11)), FrameReader::Result::MoreToCome);
    EXPECT_EQ(hangUp(), FrameReader::Result::Broken);
    EXPECT_TRUE(seen.empty());
}

TEST_F(FrameReaderTest, AHalfHeaderAtTheEndIsABreak) {
    EXPECT_EQ(feed({1, 2, 3}), FrameReader::Result::MoreToCome);
    EXPECT_EQ(hangUp(), FrameReader::Result::Broken);
}

TEST_F(FrameReaderTest, ASinkThatWantsNoMoreGetsNoMore) {
    stopAt = 2;
    Bytes stream;
    for (std::uint16_t i = 0; i < 5; ++i) {
        const Bytes next = frame(FrameHeader::Call, i, {});
        stream.insert(stream.end(), next.begin(), next.end());
    }
    EXPECT_EQ(feed(stream), FrameReader::Result::Stopped);
    EXPECT_EQ(seen.size(), 2U);
}

}  // namespace
}  // namespace comm::transport
