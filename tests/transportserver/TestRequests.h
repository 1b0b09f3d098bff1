#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "Channel.h"

/// What a request was answered with.
struct Outcome {
    int error;
    std::string bytes;

    bool isEndOfFile() const { return error == 0 && bytes.empty(); }
    bool operator==(const Outcome&) const = default;
};

inline void PrintTo(const Outcome& outcome, std::ostream* out) {
    *out << "error " << outcome.error << ", " << outcome.bytes.size() << " bytes \"" << outcome.bytes.substr(0, 40)
         << '"';
}

inline std::string join(std::span<const transport::Slice> slices) {
    std::string bytes;
    for (const transport::Slice& slice : slices) bytes.append(reinterpret_cast<const char*>(slice.data), slice.size);
    return bytes;
}

/// A request that a test has made, as the test sees it.
class Pending {
  public:
    explicit Pending(std::future<Outcome> outcome) : m_outcome(std::move(outcome)) {}

    bool isAnswered() const { return m_outcome.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }
    /// Blocks until it is answered.
    Outcome outcome() { return m_outcome.get(); }

    transport::Request* request = nullptr;             ///< for withdraw()
    std::optional<transport::Channel::TimePoint> due;  ///< of the wait

  private:
    std::future<Outcome> m_outcome;
};

class TestRead final : public transport::Request {
  public:
    void answer(int error, std::span<const transport::Slice> bytes) override {
        promise.set_value({error, join(bytes)});
    }

    std::promise<Outcome> promise;
};

class TestWrite final : public transport::WriteRequest {
  public:
    struct Memory {
        std::string bytes;
        bool isKept = false;
    };

    explicit TestWrite(std::shared_ptr<Memory> memory) : m_memory(std::move(memory)) {}

    std::span<const std::byte> bytes() const override { return std::as_bytes(std::span(m_memory->bytes)); }
    std::shared_ptr<const void> keep() override {
        m_memory->isKept = true;
        return m_memory;
    }
    void answer(int error, std::span<const transport::Slice> /*bytes*/) override { promise.set_value({error, {}}); }

    std::promise<Outcome> promise;

  private:
    std::shared_ptr<Memory> m_memory;
};

inline Pending read(transport::Channel& channel, const transport::Channel::Reader& reader, std::size_t size,
                    transport::Channel::TimePoint now) {
    auto request = std::make_unique<TestRead>();
    Pending pending(request->promise.get_future());
    pending.request = request.get();
    pending.due = channel.read(reader, size, std::move(request), now);
    return pending;
}

/// Memory that the channel does not keep is written over, as a server's is by its next request.
inline Pending write(transport::Channel& channel, std::string bytes, transport::Channel::TimePoint now) {
    const auto memory = std::make_shared<TestWrite::Memory>(TestWrite::Memory{std::move(bytes)});
    auto request = std::make_unique<TestWrite>(memory);
    Pending pending(request->promise.get_future());
    pending.request = request.get();
    pending.due = channel.write(std::move(request), now);
    if (!memory->isKept) std::fill(memory->bytes.begin(), memory->bytes.end(), '!');
    return pending;
}
