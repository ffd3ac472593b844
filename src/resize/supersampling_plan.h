// What the area-averaging rows of one call share: the footprint arithmetic
// and the column tables built from it once per call.
//
// A footprint's weights depend only on its column and on its row, so the
// column part (the source columns under each destination column, and the
// fraction of each inside it) is worked out once, with the very expressions
// the per-pixel form uses; each row then supplies its row fraction wy, and a
// pixel's weight is the column fraction times wy, as the per-pixel form forms
// it. Its "w = wy" for a column wholly inside is 1.0 * wy, the same double.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "resize/resize_request.h"
#include "resize/sample_access.h"

namespace lumo::supersampling {

/// The most channels an averaged pixel may have: a pixel of up to 4 samples
/// of up to 16 bits fits one 64-bit word.
constexpr uint32_t kMaxChannels = 4;

/// floor() or ceil() of a footprint edge, taken through a 32-bit integer.
inline double WholeThroughInt32(double v) { return static_cast<double>(TruncateToInt32(v)); }

/// The source row or column index at s: the last one past the edge. Footprints
/// never start before the top or left edge, so there is no clamp there.
inline uint32_t ClampToLast(double s, uint32_t last) {
    return s > static_cast<double>(last) ? last : static_cast<uint32_t>(TruncateToInt32(s));
}

/// The part of source row (or column) s inside the footprint [f0, f1); the
/// first test wins when the footprint lies within one pixel.
inline double Coverage(double s, double f0, double f1) {
    if (f0 > s) return (s - f0) + 1.0;
    if (s > f1 - 1.0) return f1 - s;
    return 1.0;
}

/// The footprint of destination coordinate i: [i / scale + offset, (i + 1) / scale + offset).
struct Footprint {
    double start, end;            // the edges
    double firstPixel, endPixel;  // floor(start) and ceil(end), through 32 bits
};

inline Footprint FootprintOf(uint32_t i, double scale, double offset) {
    Footprint f;
    f.start = static_cast<double>(i) / scale + offset;
    f.end = static_cast<double>(i + 1) / scale + offset;
    f.firstPixel = WholeThroughInt32(std::floor(f.start));
    f.endPixel = WholeThroughInt32(std::ceil(f.end));
    return f;
}

/// What both area-averaging paths (the tabled one here and the whole-number
/// one of supersampling_exact_plan.h) keep of a call: the images, and the
/// rows' footprints as the per-pixel form has them.
struct Call {
    uint32_t channels;
    uint32_t bytesPerSample;
    const unsigned char* source;  // the whole source, also for a region
    uint32_t sourceRowBytes;
    unsigned char* destination;
    uint32_t destinationRowBytes;
    uint32_t width;           // destination columns
    uint32_t lastRow;         // repeated past the bottom edge
    double rowScale, rowOffset;
};

inline Call CallOf(const ResizeRequest& r) {
    return {r.channels,
            r.bytesPerSample,
            r.source.data,
            r.source.rowBytes,
            r.destination.data,
            r.destination.rowBytes,
            r.destination.size.width,
            static_cast<uint32_t>(r.region.y) + r.region.height - 1,
            static_cast<double>(r.destination.size.height) / static_cast<double>(r.region.height),
            static_cast<double>(r.region.y)};
}

/// Destination columns are worked in blocks of kBlock neighbours, a vector
/// (or a few narrower ones) at a time. Every column of a block gets the block's
/// tap count; a column whose footprint covers fewer source columns is padded
/// with a zero fraction, which is exact: the weight 0 * wy is 0,
/// s * 0 + sum == sum for every finite s >= 0 and weight + 0 == weight, so a
/// padded tap changes neither sum.
constexpr size_t kBlock = 8;
/// Within each run of this many positions, columns are placed in order of
/// their tap count, so that few blocks mix counts (and few taps are padding),
/// while a block's columns stay near each other in the source row.
constexpr size_t kSortRun = 256;

/// One call's shared, read-only state.
///
/// Position i (0 <= i < stride) holds destination column columnAt[i]; the
/// positions from `width` on hold no column (columnAt == width) and are never
/// stored. Block b's tables start at entry blockStart[b]; tap k of the column
/// at lane j of the block is entry blockStart[b] + k * kBlock + j.
struct Plan : Call {
    size_t stride;   // positions: width rounded up to whole blocks
    const uint32_t* columnAt;
    const uint32_t* blockTaps;
    const uint32_t* blockPaired;  // 1: taps 2j and 2j + 1 are neighbouring pixels (or padding)
    const size_t* blockStart;
    const double* columnFractions;
    const int64_t* columnOffsets;  // byte offset of the tap's pixel within a row
    int64_t lastOffset;               // byte offset of the last column's pixel within a row
    const unsigned char* readLimit;   // just past the last pixel read: the last row's last column
};

/// Working memory of one band of rows, by position: a weighted sum per channel
/// and one sum of weights (all channels' weights are the same sum), and the
/// finished samples of a row before they are interleaved.
struct BandMemory {
    double* sums;  // (channels + 1) planes of `stride` doubles, the weights last
    int32_t* samples;  // channels planes of `stride`
};

}  // namespace lumo::supersampling
