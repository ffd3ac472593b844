// The plain cubic-convolution kernels, kept as the arithmetic written out pass
// by pass: the fast kernels in bicubic.cpp must give the same bytes.
//
// Cubic-convolution resize: a horizontal pass resamples every source row to
// the destination width into an intermediate image, then a vertical pass
// resamples its columns to the destination height. Each pass takes 4 taps per
// output sample from a table built once per call, so the row bodies run
// without edge tests. The intermediate image holds samples of the output
// type: the horizontal result is clamped and truncated before the vertical
// pass reads it, and that loss of precision is part of the output.
#include "resize/bicubic.h"

#include <cmath>
#include <cstdint>

#include "common/work_memory.h"
#include "pool/thread_pool.h"
#include "resize/kernels.h"
#include "resize/sample_access.h"

namespace lumo::reference {

namespace {

/// The weighted sum of 4 taps, added in this order.
inline double CubicSum(const double s[kCubicTaps], const double w[kCubicTaps]) {
    return ((s[0] * w[0] + s[1] * w[1]) + s[2] * w[2]) + s[3] * w[3];
}

/// Resamples one source row to `width` pixels of the intermediate image.
template <class T>
void CubicRowHorizontal(const unsigned char* sourceRow, T* intermediateRow, uint32_t channels, uint32_t width,
                        const uint32_t* columnTaps, const double* columnWeights) {
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t* tap = columnTaps + static_cast<size_t>(x) * kCubicTaps;
        const double* w = columnWeights + static_cast<size_t>(x) * kCubicTaps;
        for (uint32_t c = 0; c < channels; ++c) {
            const double s[kCubicTaps] = {
                static_cast<double>(LoadSample<T>(sourceRow, tap[0] * channels + c)),
                static_cast<double>(LoadSample<T>(sourceRow, tap[1] * channels + c)),
                static_cast<double>(LoadSample<T>(sourceRow, tap[2] * channels + c)),
                static_cast<double>(LoadSample<T>(sourceRow, tap[3] * channels + c)),
            };
            intermediateRow[x * channels + c] = ClampTruncate<T>(CubicSum(s, w));
        }
    }
}

/// Produces one destination row from the 4 intermediate rows that `tap` names.
/// Intermediate rows are `rowSamples` samples long and packed.
template <class T>
void CubicRowVertical(const T* intermediate, uint32_t rowSamples, const uint32_t* tap, const double* w,
                      unsigned char* destinationRow) {
    const T* rows[kCubicTaps] = {
        intermediate + tap[0] * rowSamples,
        intermediate + tap[1] * rowSamples,
        intermediate + tap[2] * rowSamples,
        intermediate + tap[3] * rowSamples,
    };
    for (uint32_t e = 0; e < rowSamples; ++e) {
        const double s[kCubicTaps] = {
            static_cast<double>(rows[0][e]),
            static_cast<double>(rows[1][e]),
            static_cast<double>(rows[2][e]),
            static_cast<double>(rows[3][e]),
        };
        StoreSample<T>(destinationRow, e, ClampTruncate<T>(CubicSum(s, w)));
    }
}

/// The region is resized as an image of its own: taps clamp to its edges, so
/// nothing outside it is read, and the whole source's size plays no part.
template <class T>
LumoResult BiCubicResize(const ResizeRequest& r) {
    const SourceView input = RegionView(r);
    const uint32_t channels = r.channels;
    const uint32_t sourceWidth = input.size.width;
    const uint32_t sourceHeight = input.size.height;
    const uint32_t width = r.destination.size.width;
    const uint32_t height = r.destination.size.height;

    // Row counts read as signed: a pass over fewer than 1 row does nothing.
    const auto sourceRows = static_cast<int32_t>(sourceHeight);
    const auto destinationRows = static_cast<int32_t>(height);
    const uint32_t rowSamples = channels * width;

    const auto columnWeights = MakeWorkArray<double>(kCubicTaps * width);
    const auto rowWeights = MakeWorkArray<double>(kCubicTaps * height);
    const auto columnTaps = MakeWorkArray<uint32_t>(kCubicTaps * width);
    const auto rowTaps = MakeWorkArray<uint32_t>(kCubicTaps * height);
    const auto intermediate = MakeWorkArray<T>(rowSamples * sourceHeight);
    if (!columnWeights || !rowWeights || !columnTaps || !rowTaps || !intermediate) return kLumoResultNoMemory;

    // Every source row is resampled, also rows that no destination row uses.
    BuildCubicTaps(width, sourceWidth, columnTaps.get(), columnWeights.get());
    parallel_for(0, sourceRows, 1, [&](int y) {
        const auto row = static_cast<uint32_t>(y);
        CubicRowHorizontal<T>(RowAt(input.data, row, input.rowBytes), intermediate.get() + row * rowSamples, channels,
                              width, columnTaps.get(), columnWeights.get());
    });

    BuildCubicTaps(height, sourceHeight, rowTaps.get(), rowWeights.get());
    parallel_for(0, destinationRows, 1, [&](int y) {
        const auto row = static_cast<uint32_t>(y);
        CubicRowVertical<T>(intermediate.get(), rowSamples, rowTaps.get() + row * kCubicTaps,
                            rowWeights.get() + row * kCubicTaps, RowAt(r.destination.data, row, r.destination.rowBytes));
    });
    return kLumoResultOK;
}

}  // namespace

LumoResult BiCubic(const ResizeRequest& request) {
    AssertAdmitted(request);
    return request.bytesPerSample == 1 ? BiCubicResize<uint8_t>(request) : BiCubicResize<uint16_t>(request);
}

}  // namespace lumo::reference
