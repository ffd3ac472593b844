// The plain bilinear kernels, kept as the arithmetic written out pass by
// pass: the fast kernels in bilinear.cpp must give the same bytes.
//
// Bilinear scaling in two separable passes: along the rows into an
// intermediate image of destination width and input height, then along the
// columns into the destination. The intermediate holds samples of the output
// type, so the first pass's values are clamped and truncated before the second
// pass reads them; that reduction is part of the output values.
//
// Every product and sum is rounded separately in double, in the order
// written, in both passes.
#include "resize/bilinear.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "common/work_memory.h"
#include "pool/thread_pool.h"
#include "resize/kernels.h"
#include "resize/sample_access.h"

namespace lumo::reference {
namespace {

template <class T>
void InterpolateAlongRow(uint32_t channels, const unsigned char* inputRow, const uint32_t* columnTaps,
                         const double* columnWeights, uint32_t width, unsigned char* outputRow) {
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t* taps = columnTaps + x * kLinearTaps;
        const double* weights = columnWeights + x * kLinearTaps;
        for (uint32_t c = 0; c < channels; ++c) {
            const double s0 = LoadSample<T>(inputRow, taps[0] * channels + c);
            const double s1 = LoadSample<T>(inputRow, taps[1] * channels + c);
            const double value = s0 * weights[0] + s1 * weights[1];
            StoreSample<T>(outputRow, x * channels + c, ClampTruncate<T>(value));
        }
    }
}

// Second pass: one destination row, interpolated between the two intermediate
// rows that `rowTaps` names.
template <class T>
void InterpolateBetweenRows(uint32_t channels, const unsigned char* intermediate, uint32_t intermediateRowBytes,
                            const uint32_t* rowTaps, const double* rowWeights, uint32_t width,
                            unsigned char* outputRow) {
    const unsigned char* rows[kLinearTaps];
    for (uint32_t k = 0; k < kLinearTaps; ++k) rows[k] = RowAt(intermediate, rowTaps[k], intermediateRowBytes);
    for (uint32_t x = 0; x < width; ++x) {
        for (uint32_t c = 0; c < channels; ++c) {
            double acc = 0.0;
            for (uint32_t k = 0; k < kLinearTaps; ++k) {
                acc = acc + static_cast<double>(LoadSample<T>(rows[k], x * channels + c)) * rowWeights[k];
            }
            StoreSample<T>(outputRow, x * channels + c, ClampTruncate<T>(acc));
        }
    }
}

// The region is resized as an image of its own: indices clamp to its edges.
template <class T>
LumoResult LinearResize(const ResizeRequest& r) {
    const SourceView input = RegionView(r);
    const uint32_t channels = r.channels;
    const uint32_t width = r.destination.size.width;
    const uint32_t height = r.destination.size.height;

    // Sizes are 32-bit products, as the row offsets are.
    const uint32_t intermediateRowBytes = channels * width * static_cast<uint32_t>(sizeof(T));
    const WorkArray<double> columnWeights = MakeWorkArray<double>(kLinearTaps * width);
    const WorkArray<double> rowWeights = MakeWorkArray<double>(kLinearTaps * height);
    const WorkArray<uint32_t> columnTaps = MakeWorkArray<uint32_t>(kLinearTaps * width);
    const WorkArray<uint32_t> rowTaps = MakeWorkArray<uint32_t>(kLinearTaps * height);
    const WorkArray<unsigned char> intermediate = MakeWorkArray<unsigned char>(intermediateRowBytes * input.size.height);
    if (!columnWeights || !rowWeights || !columnTaps || !rowTaps || !intermediate) return kLumoResultNoMemory;

    BuildLinearTaps(width, input.size.width, columnTaps.get(), columnWeights.get());
    parallel_for<int32_t>(0, static_cast<int32_t>(input.size.height), 1, [&](int32_t y) {
        const auto row = static_cast<uint32_t>(y);
        InterpolateAlongRow<T>(channels, RowAt(input.data, row, input.rowBytes), columnTaps.get(),
                               columnWeights.get(), width, RowAt(intermediate.get(), row, intermediateRowBytes));
    });

    // Built only now: the first pass has finished with the intermediate.
    BuildLinearTaps(height, input.size.height, rowTaps.get(), rowWeights.get());
    parallel_for<int32_t>(0, static_cast<int32_t>(height), 1, [&](int32_t y) {
        const auto row = static_cast<uint32_t>(y);
        InterpolateBetweenRows<T>(channels, intermediate.get(), intermediateRowBytes, rowTaps.get() + row * kLinearTaps,
                                  rowWeights.get() + row * kLinearTaps, width,
                                  RowAt(r.destination.data, row, r.destination.rowBytes));
    });
    return kLumoResultOK;
}

}  // namespace

LumoResult BiLinear(const ResizeRequest& request) {
    AssertAdmitted(request);
    return request.bytesPerSample == 1 ? LinearResize<uint8_t>(request) : LinearResize<uint16_t>(request);
}

}  // namespace lumo::reference
