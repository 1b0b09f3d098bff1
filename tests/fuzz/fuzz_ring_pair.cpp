#include "Input.h"
#include "Traffic.h"

namespace comm::transport {
namespace {

// The input orders what an honest writer and an honest reader do. Gives the bytes that were sent.
std::uint32_t order(Input& input, Traffic& traffic) {
    const auto any = input.take<std::uint16_t>();
    const std::array<std::uint32_t, 10> sizes{
        0, 1, 8, MaxPiece - 1, MaxPiece, MaxPiece + 1, 2 * MaxPiece + 1, Traffic::Longest, any % 256U, any};
    switch (input.byte() % 6) {
        case 0:
            traffic.read();
            break;
        case 1:
            traffic.sleep();
            break;
        case 2:
            traffic.tidy();
            break;
        case 3:
            traffic.send({});
            break;
        default:
            const std::uint32_t size = input.oneOf(sizes);
            traffic.send(size);
            return size;
    }
    return 0;
}

}  // namespace
}  // namespace comm::transport

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static comm::transport::TestRing ring;
    ring.reset();
    Input input(data, size);
    comm::transport::Traffic traffic(ring);
    // Enough to go round the ring.
    for (std::int64_t left = 24 << 20; !input.empty() && left > 0;) left -= comm::transport::order(input, traffic);
    traffic.finish();
    require(traffic.fault.empty(), traffic.fault.c_str());
    return 0;
}
