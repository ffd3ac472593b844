// ResizeWithRegion (the single-threaded halving path) with every parameter
// drawn from the input. Buffers as for the resize entry points; the source
// rows hold samples of max(2, ceil(depth / 8)) bytes for depths other than 8,
// the destination's 2 bytes for every depth but 8.
#include <cstdint>

#include "fuzz_input.h"
#include "lumomath/LumoMath.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace fuzz;
    Input in(data, size);
    const uint32_t bits = Depth(in);
    const uint32_t channels = in.Byte() % 9;
    const tagLumoSize source{in.Extent(), in.Extent()};
    const tagLumoRect region{in.Coordinate(), in.Coordinate(), in.Extent(), in.Extent()};
    const tagLumoSize destination{in.Extent(), in.Extent()};
    const uint32_t stated = bits / 8 + (bits % 8 != 0 ? 1 : 0);
    const uint32_t sourceSampleBytes = bits == 8 ? 1 : (stated > 2 ? stated : 2);
    const uint32_t destinationSampleBytes = bits == 8 ? 1 : 2;
    const Wide sourceRow = Wide{source.width} * channels * sourceSampleBytes;
    const Wide destinationRow = Wide{destination.width} * channels * destinationSampleBytes;
    const uint32_t sourceRowBytes = in.Stride(sourceRow);
    const uint32_t destinationRowBytes = in.Stride(destinationRow);
    const uint8_t flags = in.Byte();

    const auto call = [&](const void* src, void* dst) {
        return ResizeWithRegion(kLumoScalingBiLinear, channels, bits, src, source, sourceRowBytes, region, dst,
                                destination, destinationRowBytes);
    };
    const bool nothingToWrite = destination.width == 0 || destination.height == 0 || channels == 0;
    const Wide sourceBytes = ImageBytes(source.height, sourceRow, sourceRowBytes);
    const Wide destinationBytes = ImageBytes(destination.height, destinationRow, destinationRowBytes);
    const bool unreachable = Unreachable(source, sourceBytes, destination, destinationBytes);
    if (nothingToWrite || unreachable) {
        // Refused (7, or 96 for the depth when no halving is needed).
        if (CallTouchingNothing(call, flags & 1) == kLumoResultOK && !nothingToWrite) Broken();
        return 0;
    }

    const Wide work = Wide{region.width} * region.height * channels + Wide{destination.width} * destination.height * channels;
    if (sourceBytes > kMaxBufferBytes || destinationBytes > kMaxBufferBytes || work > kMaxWork) return 0;

    Buffer src(static_cast<size_t>(sourceBytes), 0x3C);
    Buffer dst(static_cast<size_t>(destinationBytes), 0xC3);
    const LumoResult result = call((flags & 2) ? nullptr : src.data(), (flags & 4) ? nullptr : dst.data());
    if (result != kLumoResultOK && !dst.AllEqual(0xC3)) Broken();
    return 0;
}
