// Cubic-convolution resize: a horizontal pass resamples source rows to the
// destination width, then a vertical pass resamples the columns to the
// destination height. Each pass takes 4 taps per output sample from a table
// built once per call, so the row bodies run without edge tests. Between the
// passes the values are samples of the output type: the horizontal result is
// clamped and truncated before the vertical pass reads it, and that loss of
// precision is part of the output.
//
// The passes run fused per band of destination rows (separable_resize.h),
// which resamples only the source rows some destination row reads; the plain
// two-pass form is bicubic_reference.cpp.
#include "resize/bicubic.h"

#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include "common/image_extent.h"
#include "common/work_memory.h"
#include "resize/kernels.h"
#include "resize/sample_access.h"
#include "resize/separable_resize.h"

namespace lumo {

double cubicFilter(double x) {
    const double t = std::fabs(x);
    // The inner piece is the library's own, not the textbook 1.5t^3 - 2.5t^2 + 1:
    // it has a kink at 0 (slope -0.5) and decides every weight, so it is kept
    // exactly, in this evaluation order.
    if (t < 1.0) return ((t - 2.0) * t * t + 1.0 - (1.0 - t)) * 0.5 + (1.0 - t);
    if (t >= 1.0 && t < 2.0) return (((t - 5.0) * t + 8.0) * t - 4.0) * -0.5;
    return 0.0;  // beyond the support, or a NaN, which fails every comparison above
}

void BuildCubicTaps(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights) {
    const double scale = static_cast<double>(count) / static_cast<double>(sourceCount);
    const uint32_t last = sourceCount - 1;
    for (uint32_t i = 0; i < count; ++i) {
        const double centre = (static_cast<double>(i) + 0.5) / scale;
        // Truncation, not floor: for centres below 1.5 the taps start one
        // sample to the right of the nearest four, and the normalisation below
        // makes up for the missing one.
        const int32_t first = TruncateToInt32((centre + -2.0) + 0.5);
        uint32_t* tap = taps + static_cast<size_t>(i) * kCubicTaps;
        double* w = weights + static_cast<size_t>(i) * kCubicTaps;
        double sum = 0.0;
        for (uint32_t k = 0; k < kCubicTaps; ++k) {
            const int64_t j = static_cast<int64_t>(first) + k;
            w[k] = cubicFilter(static_cast<double>(j) + 0.5 - centre);
            sum = sum + w[k];
            // Past either edge the edge sample is repeated.
            tap[k] = j < 0 ? 0 : (j >= sourceCount ? last : static_cast<uint32_t>(j));
        }
        for (uint32_t k = 0; k < kCubicTaps; ++k) w[k] = w[k] / sum;
    }
}

LumoResult CheckCubicSizes(uint32_t channels, tagLumoSize sourceSize, tagLumoSize destinationSize,
                           uint32_t bytesPerSample) {
    // Row counts read as signed: a pass over fewer than 1 row does nothing.
    const auto sourceRows = static_cast<int32_t>(sourceSize.height);
    const auto destinationRows = static_cast<int32_t>(destinationSize.height);

    // A pass with samples to produce from an empty source axis would index
    // before its first sample.
    if (destinationSize.width > 0 &&
        ((sourceSize.width == 0 && sourceRows >= 1) || (sourceSize.height == 0 && destinationRows >= 1)))
        return kLumoResultInvalidParameter;

    // Block sizes are 32-bit quantities: the intermediate image is never meant
    // to reach 4 GiB. A size that does not fit is refused like memory that
    // cannot be had, rather than wrapped into a block too small for the image.
    if (!ProductFits32({kCubicTaps, destinationSize.width}) || !ProductFits32({kCubicTaps, destinationSize.height}) ||
        !ProductFits32({channels, destinationSize.width, sourceSize.height, bytesPerSample}))
        return kLumoResultNoMemory;
    return kLumoResultOK;
}

namespace {

/// Resizes the sourceSize image at `source` (a whole image, or the first
/// pixel of a region whose rows are sourceRowBytes apart) to the destination.
template <class T>
LumoResult BiCubicResize(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                         uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                         uint32_t destinationRowBytes) {
    const LumoResult usable = CheckCubicSizes(channels, sourceSize, destinationSize, sizeof(T));
    if (usable != kLumoResultOK) return usable;
    const uint32_t sourceWidth = sourceSize.width;
    const uint32_t sourceHeight = sourceSize.height;
    const uint32_t width = destinationSize.width;
    const uint32_t height = destinationSize.height;

    SeparableJob job{channels, kCubicTaps, source, sourceWidth, sourceRowBytes, destination, destinationRowBytes,
                     width, height, nullptr, nullptr, nullptr, nullptr};
    const RowBands bands = SeparableBands(job);
    const auto columnWeights = MakeWorkArray<double>(kCubicTaps * width);
    const auto rowWeights = MakeWorkArray<double>(kCubicTaps * height);
    const auto columnTaps = MakeWorkArray<uint32_t>(kCubicTaps * width);
    const auto rowTaps = MakeWorkArray<uint32_t>(kCubicTaps * height);
    const auto work = MakeWorkArray<unsigned char>(SeparableWorkBytes(job, sizeof(T), bands.count()));
    if (!columnWeights || !rowWeights || !columnTaps || !rowTaps || !work) return kLumoResultNoMemory;

    BuildCubicTaps(width, sourceWidth, columnTaps.get(), columnWeights.get());
    BuildCubicTaps(height, sourceHeight, rowTaps.get(), rowWeights.get());
    job.columnTaps = columnTaps.get();
    job.columnWeights = columnWeights.get();
    job.rowTaps = rowTaps.get();
    job.rowWeights = rowWeights.get();
    RunSeparable<T>(job, work.get(), bands);
    return kLumoResultOK;
}

/// The region is resized as an image of its own: taps clamp to its edges, so
/// nothing outside it is read, and the whole source's size plays no part.
template <class T>
LumoResult BiCubicRegion(uint32_t channels, const unsigned char* source, uint32_t sourceRowBytes, tagLumoRect region,
                         unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return BiCubicResize<T>(channels, CubicRegionOrigin<T>(source, sourceRowBytes, region, channels),
                            tagLumoSize{region.width, region.height}, sourceRowBytes, destination, destinationSize,
                            destinationRowBytes);
}

}  // namespace

LumoResult BiCubic8(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                    unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return BiCubicResize<uint8_t>(channels, source, sourceSize, sourceRowBytes, destination, destinationSize,
                                  destinationRowBytes);
}

LumoResult BiCubic16(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                     unsigned char* destination, tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return BiCubicResize<uint16_t>(channels, source, sourceSize, sourceRowBytes, destination, destinationSize,
                                   destinationRowBytes);
}

LumoResult BiCubic8WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                              uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                              tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return BiCubicRegion<uint8_t>(channels, source, sourceRowBytes, region, destination, destinationSize,
                                  destinationRowBytes);
}

LumoResult BiCubic16WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                               uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                               tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return BiCubicRegion<uint16_t>(channels, source, sourceRowBytes, region, destination, destinationSize,
                                   destinationRowBytes);
}

}  // namespace lumo
