// Bilinear scaling in two separable passes: along the rows to the destination
// width, then along the columns into the destination. The values between the
// passes are samples of the output type, clamped and truncated; that
// reduction is part of the output values.
//
// Every product and sum is rounded separately in double, in the order
// written, in both passes. The passes run fused per band of destination rows
// (separable_resize.h), which computes only the input rows that some
// destination row reads; the plain two-pass form is bilinear_reference.cpp.
#include "resize/bilinear.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "common/work_memory.h"
#include "resize/kernels.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"

namespace lumo {
namespace {

uint32_t ClampIndex(int32_t index, uint32_t length) {
    if (index < 0) return 0;
    if (static_cast<uint32_t>(index) >= length) return length - 1;
    return static_cast<uint32_t>(index);
}

template <class T>
LumoResult LinearResize(uint32_t channels, const LinearInput& input, unsigned char* destination,
                        tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    const uint32_t width = destinationSize.width;
    const uint32_t height = destinationSize.height;
    if (!LinearInputUsable(input, destinationSize)) return kLumoResultInvalidParameter;

    SeparableJob job{channels, kLinearTaps, input.data, input.width, input.rowBytes, destination, destinationRowBytes,
                     width, height, nullptr, nullptr, nullptr, nullptr};
    const RowBands bands = SeparableBands(job);
    // Table counts are 32-bit products, as they always were.
    const WorkArray<double> columnWeights = MakeWorkArray<double>(kLinearTaps * width);
    const WorkArray<double> rowWeights = MakeWorkArray<double>(kLinearTaps * height);
    const WorkArray<uint32_t> columnTaps = MakeWorkArray<uint32_t>(kLinearTaps * width);
    const WorkArray<uint32_t> rowTaps = MakeWorkArray<uint32_t>(kLinearTaps * height);
    const WorkArray<unsigned char> work = MakeWorkArray<unsigned char>(SeparableWorkBytes(job, sizeof(T), bands.count()));
    if (!columnWeights || !rowWeights || !columnTaps || !rowTaps || !work) return kLumoResultNoMemory;

    BuildLinearTaps(width, input.width, columnTaps.get(), columnWeights.get());
    BuildLinearTaps(height, input.height, rowTaps.get(), rowWeights.get());
    job.columnTaps = columnTaps.get();
    job.columnWeights = columnWeights.get();
    job.rowTaps = rowTaps.get();
    job.rowWeights = rowWeights.get();
    RunSeparable<T>(job, work.get(), bands);
    return kLumoResultOK;
}

}  // namespace

void BuildLinearTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights) {
    const double scale = static_cast<double>(count) / static_cast<double>(sourceCount);
    for (uint32_t i = 0; i < count; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / scale;
        // Truncation, not floor: a start between -1 and 0 becomes 0, so the
        // first outputs of an enlargement extrapolate from inputs 0 and 1
        // while the far edge only repeats the last input.
        const int32_t start = TruncateToInt32(centre - 1.0 + 0.5);
        int32_t index[kLinearTaps];
        double weight[kLinearTaps];
        for (uint32_t k = 0; k < kLinearTaps; ++k) {
            index[k] = start + static_cast<int32_t>(k);
            // The weight comes from the index before it is clamped.
            weight[k] = 1.0 - std::fabs(static_cast<double>(index[k]) + 0.5 - centre);
        }
        const double sum = weight[0] + weight[1];
        for (uint32_t k = 0; k < kLinearTaps; ++k) {
            taps[i * kLinearTaps + k] = ClampIndex(index[k], sourceCount);
            weights[i * kLinearTaps + k] = weight[k] / sum;
        }
    }
}

LumoResult BiLinear8(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                     unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    const LinearInput input{source, sourceRowBytes, sourceSize.width, sourceSize.height};
    return LinearResize<uint8_t>(channels, input, destination, destinationSize, destinationRowBytes);
}

LumoResult BiLinear16(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                      unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    const LinearInput input{source, sourceRowBytes, sourceSize.width, sourceSize.height};
    return LinearResize<uint16_t>(channels, input, destination, destinationSize, destinationRowBytes);
}

LumoResult BiLinear8WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                               uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                               tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return LinearResize<uint8_t>(channels, LinearRegionInput<uint8_t>(channels, source, sourceRowBytes, region),
                                 destination, destinationSize, destinationRowBytes);
}

LumoResult BiLinear16WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                                uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                                tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return LinearResize<uint16_t>(channels, LinearRegionInput<uint16_t>(channels, source, sourceRowBytes, region),
                                  destination, destinationSize, destinationRowBytes);
}

}  // namespace lumo
