// The fused two-pass engine of the interpolating resizes (bilinear, bicubic).
//
// Both methods resample along the rows into samples of the output type
// (clamped and truncated), then along the columns into the destination, each
// output sample being a left-to-right sum of tap-by-weight products. Rather
// than a full intermediate image, the destination rows are cut into one band
// per worker, and each band keeps a ring of `taps` intermediate rows: a
// destination row reads `taps` consecutive (clamped) input rows, its first
// row never moves backwards, so input row r can live in slot r % taps and is
// computed at most once per band, and only if some destination row reads it.
// Every sample is still produced by the same products and sums in the same
// order, so the bytes are those of the plain two-pass kernels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "lumomath/LumoMath.h"
#include "resize/resize_request.h"
#include "resize/row_bands.h"
#include "resize/row_plan.h"

namespace lumo {

/// One interpolating resize: the input view, the destination and the tap
/// tables (`taps` entries per destination column and per destination row).
struct SeparableJob {
    uint32_t channels;
    uint32_t taps;  // 2 or 4
    const unsigned char* source;
    uint32_t sourceWidth;  // pixels per input row
    uint32_t sourceRowBytes;
    unsigned char* destination;
    uint32_t destinationRowBytes;
    uint32_t width;   // destination pixels per row
    uint32_t height;  // destination rows
    const uint32_t* columnTaps;
    const double* columnWeights;
    const uint32_t* rowTaps;
    const double* rowWeights;
};

/// Bands the destination rows are cut into: one per worker of the pool, fewer
/// for small images, at most one per destination row. The bands hold the pool
/// until they are gone, so that one pool serves the whole call.
RowBands SeparableBands(const SeparableJob& job, uint32_t bytesPerSample);

/// The plan of a job whose tap tables are filled, for `bands` bands of
/// `bytesPerSample`-byte samples: its strategy, column groups and working
/// block (plan.layout.totalBytes to allocate, zero-filled).
RowPlan PlanSeparable(const SeparableJob& job, uint32_t bytesPerSample, uint32_t bands);

/// Runs the job over its bands in parallel as `plan` (of PlanSeparable for
/// these bands) says, in its working block.
void RunSeparable8(const SeparableJob& job, const RowPlan& plan, unsigned char* work, const RowBands& bands);
void RunSeparable16(const SeparableJob& job, const RowPlan& plan, unsigned char* work, const RowBands& bands);

/// Fills `taps` source indices and weights per output index of one axis.
using TapTableBuilder = void (*)(uint32_t count, uint32_t sourceCount, uint32_t* taps, double* weights);

/// An interpolating resize of an admitted request, the region read as an
/// image of its own: tap tables from `build` for both axes, then the fused
/// passes over the bands. kLumoResultNoMemory when the tables or the working
/// block cannot be had.
LumoResult RunInterpolatingResize(const ResizeRequest& request, uint32_t taps, TapTableBuilder build);

/// DescribeRowPlan of the plan RunInterpolatingResize would follow for the
/// request (or why there is none), for triage.
std::string DescribeInterpolatingResize(const ResizeRequest& request, uint32_t taps, TapTableBuilder build);

}  // namespace lumo
