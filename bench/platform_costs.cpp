// What the message test itself pays for on every burst or message, beside the exchange.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <numeric>

#include "osal/common/StopWatch.h"
#include "util/CITypesFactory.h"

namespace {

constexpr std::uint32_t Payload = 1U << 20;

// The counter stands in an object that the bytes may alias, as it does in a test role.
class Filler {
  public:
    void fillByteByByte(ipl::UInt8Array& array) {
        for (std::uint32_t i = 0; i < array.size; ++i) array.data[i] = m_fill++;
    }
    void fillAtOnce(ipl::UInt8Array& array) {
        std::iota(array.data, array.data + array.size, m_fill);
        m_fill = static_cast<std::uint8_t>(m_fill + array.size);
    }

  private:
    std::uint8_t m_fill = 0;
};

void fill(benchmark::State& state, void (Filler::*method)(ipl::UInt8Array&)) {
    const util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(Payload);
    Filler filler;
    for ([[maybe_unused]] auto _ : state) {
        (filler.*method)(*array);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * Payload);
}
BENCHMARK_CAPTURE(fill, byteByByte, &Filler::fillByteByByte);
BENCHMARK_CAPTURE(fill, atOnce, &Filler::fillAtOnce);

void copySharedPtr(benchmark::State& state) {
    const util::UInt8ArrayPtr array = util::CITypesFactory::createUInt8Array(1);
    for ([[maybe_unused]] auto _ : state) {
        util::UInt8ArrayPtr copy(array);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(copySharedPtr);

void createUInt8Array(benchmark::State& state) {
    const auto size = static_cast<std::uint32_t>(state.range(0));
    for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(util::CITypesFactory::createUInt8Array(size));
}
BENCHMARK(createUInt8Array)->Arg(0)->Arg(100)->Arg(65536)->Arg(Payload);

void measureRoundTrip(benchmark::State& state) {
    osal::RealtimeStopWatch watch(false);
    for ([[maybe_unused]] auto _ : state) {
        watch.start();
        benchmark::DoNotOptimize(watch.peekRuntime(osal::StopWatchBase::Milliseconds));
        watch.stop();
    }
}
BENCHMARK(measureRoundTrip);

}  // namespace

BENCHMARK_MAIN();
