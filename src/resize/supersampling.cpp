// Area-averaging reduction: each destination pixel is the mean of the source
// pixels under its footprint, each weighted by the part of it inside the
// footprint. The mean divides by the weights actually accumulated: where a
// footprint reaches past the last row or column, the edge pixel takes the
// weight of the part outside.
//
// The column part of the weights is tabled once per call (supersampling_plan.h)
// and a row of destination pixels is worked in vectors of neighbouring
// pixels: lane x gathers the source pixel of its own tap k, so each pixel's
// sums still take their terms one by one, source rows outer, columns inner,
// sum = s * w + sum, exactly as the per-pixel form adds them. Only the
// pixels run side by side, never a pixel's terms.
#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "platform/kernel_choice.h"
#include "resize/kernels.h"
#include "resize/row_bands.h"
#include "resize/sample_access.h"
#include "resize/supersampling_exact.h"
#include "resize/supersampling_plan.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "resize/supersampling.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/cache_control.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumo::supersampling {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using D = hn::CappedTag<double, kBlock>;  // a block is whole vectors
using DU = hn::RebindToUnsigned<D>;
using DI = hn::RebindToSigned<D>;

constexpr size_t kPrefetchAhead = 1024;  // bytes
constexpr size_t kCacheLine = 64;

// Each lane's pixel, read as exactly its own bytes: for the rows where an
// 8-byte gather of the last pixel could leave the caller's buffer.
template <class T, uint32_t N>
HWY_INLINE hn::Vec<DU> ExactPixels(const unsigned char* row, const int64_t* offsets) {
    const DU du;
    uint64_t words[HWY_MAX_BYTES / sizeof(uint64_t)] = {};
    for (size_t i = 0; i < hn::Lanes(du); ++i) std::memcpy(&words[i], row + offsets[i], N * sizeof(T));
    return hn::LoadU(du, words);
}

// Sample `index` of a 64-bit word of samples (bits [index * width,
// (index + 1) * width)) as a double. The sample is below 2^16, so the
// conversion is exact: done by an instruction where the processor has one,
// else by placing the sample in the mantissa of 2^52 and subtracting 2^52.
template <class T>
HWY_INLINE hn::Vec<D> SampleOf(hn::Vec<DU> word, uint32_t index) {
    const D d;
    const DU du;
    constexpr int kSampleBits = 8 * sizeof(T);
    const auto bits = hn::And(hn::ShiftRightSame(word, static_cast<int>(index) * kSampleBits),
                              hn::Set(du, (uint64_t{1} << kSampleBits) - 1));
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
    // AVX-512DQ converts 64-bit integers in one instruction (vcvtqq2pd); AVX2
    // and below have none, and the conversion there would be emulated.
    return hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<D>(), bits));
#else
    return hn::Sub(hn::BitCast(d, hn::Or(bits, hn::Set(du, uint64_t{0x4330000000000000}))),
                   hn::Set(d, 4503599627370496.0));
#endif
}

// One tap: every channel's sum = s * w + sum, then the weight. The tap's
// pixel is samples [first, first + N) of `word`. The channels' sums are
// named vectors (s3 unused below 4 channels, and so on): scalable vectors
// have no size, so they can be neither array elements nor members.
template <class T, uint32_t N>
HWY_INLINE void AddTap(hn::Vec<DU> word, uint32_t first, hn::Vec<D> w, hn::Vec<D>& s0, hn::Vec<D>& s1,
                       hn::Vec<D>& s2, hn::Vec<D>& s3, hn::Vec<D>& weight) {
    s0 = hn::Add(hn::Mul(SampleOf<T>(word, first), w), s0);
    if constexpr (N > 1) s1 = hn::Add(hn::Mul(SampleOf<T>(word, first + 1), w), s1);
    if constexpr (N > 2) s2 = hn::Add(hn::Mul(SampleOf<T>(word, first + 2), w), s2);
    if constexpr (N > 3) s3 = hn::Add(hn::Mul(SampleOf<T>(word, first + 3), w), s3);
    weight = hn::Add(weight, w);
}

// Adds one source row, with row fraction wy, to the sums of every position.
// A pixel's samples arrive in a 64-bit word read by a gather; where two
// pixels fit one word and a block's taps come in neighbouring pairs
// (Plan::blockPaired), one gather serves two taps, which are still added one
// after the other.
template <class T, uint32_t N, bool kExactReads>
HWY_NOINLINE void AccumulateRow(const Plan& p, const unsigned char* row, double wy, double* HWY_RESTRICT sums) {
    const D d;
    const DU du;
    const DI di;
    constexpr bool kPairs = !kExactReads && 2 * N * sizeof(T) <= sizeof(uint64_t);
    const auto rowFraction = hn::Set(d, wy);
    const auto* rowWords = reinterpret_cast<const int64_t*>(row);
    const size_t stride = p.stride;
    const size_t blocks = stride / kBlock;

    const auto rowAddress = reinterpret_cast<uintptr_t>(row);
    uintptr_t prefetched = rowAddress + kPrefetchAhead;
    for (size_t b = 0; b < blocks; ++b) {
        const size_t taps = p.blockTaps[b];
        const size_t pairedTaps = kPairs && p.blockPaired[b] ? taps / 2 * 2 : 0;
        const double* fractions = p.columnFractions + p.blockStart[b];
        const int64_t* offsets = p.columnOffsets + p.blockStart[b];
        for (size_t lane = 0; lane < kBlock; lane += hn::Lanes(d)) {
            const size_t x = b * kBlock + lane;
            // Gathers do not train the hardware prefetcher: fetch every line
            // of the row some way ahead of the columns being read, or each
            // new cache line waits on memory.
            for (const uintptr_t ahead = rowAddress + static_cast<uintptr_t>(offsets[lane]) + kPrefetchAhead;
                 prefetched < ahead; prefetched += kCacheLine) {
                hwy::Prefetch(reinterpret_cast<const unsigned char*>(prefetched));
            }
            auto s0 = hn::LoadU(d, sums + x);
            auto s1 = s0, s2 = s0, s3 = s0;
            if constexpr (N > 1) s1 = hn::LoadU(d, sums + stride + x);
            if constexpr (N > 2) s2 = hn::LoadU(d, sums + 2 * stride + x);
            if constexpr (N > 3) s3 = hn::LoadU(d, sums + 3 * stride + x);
            auto weight = hn::LoadU(d, sums + N * stride + x);
            size_t k = 0;
            for (; k < pairedTaps; k += 2) {
                const size_t at = k * kBlock + lane;
                const auto word = hn::BitCast(du, hn::GatherOffset(di, rowWords, hn::LoadU(di, offsets + at)));
                const auto w0 = hn::Mul(hn::LoadU(d, fractions + at), rowFraction);
                AddTap<T, N>(word, 0, w0, s0, s1, s2, s3, weight);
                const auto w1 = hn::Mul(hn::LoadU(d, fractions + at + kBlock), rowFraction);
                AddTap<T, N>(word, N, w1, s0, s1, s2, s3, weight);
            }
            for (; k < taps; ++k) {
                const size_t at = k * kBlock + lane;
                hn::Vec<DU> word;
                if constexpr (kExactReads) {
                    word = ExactPixels<T, N>(row, offsets + at);
                } else {
                    word = hn::BitCast(du, hn::GatherOffset(di, rowWords, hn::LoadU(di, offsets + at)));
                }
                const auto w = hn::Mul(hn::LoadU(d, fractions + at), rowFraction);
                AddTap<T, N>(word, 0, w, s0, s1, s2, s3, weight);
            }
            hn::StoreU(s0, d, sums + x);
            if constexpr (N > 1) hn::StoreU(s1, d, sums + stride + x);
            if constexpr (N > 2) hn::StoreU(s2, d, sums + 2 * stride + x);
            if constexpr (N > 3) hn::StoreU(s3, d, sums + 3 * stride + x);
            hn::StoreU(weight, d, sums + N * stride + x);
        }
    }
}

// Divides the sums by the weights and stores destination row y. A quotient
// that is not a number (nothing reached the pixel) or not above 0 gives 0,
// one at or above the top gives the top, anything between its truncation:
// the same as truncating first and clamping the integer after.
template <class T, uint32_t N>
HWY_NOINLINE void FinishRow(const Plan& p, uint32_t y, const BandMemory& m) {
    const D d;
    const hn::Rebind<int32_t, D> d32;
    const auto zero = hn::Zero(d);
    const auto top = hn::Set(d, kSampleMax<T>);
    const size_t stride = p.stride;
    const double* weights = m.sums + N * stride;
    for (size_t x = 0; x < stride; x += hn::Lanes(d)) {
        const auto weight = hn::LoadU(d, weights + x);
        for (uint32_t c = 0; c < N; ++c) {
            auto q = hn::Div(hn::LoadU(d, m.sums + c * stride + x), weight);
            q = hn::Min(hn::IfThenElseZero(hn::Gt(q, zero), q), top);
            hn::StoreU(hn::DemoteTo(d32, q), d32, m.samples + c * stride + x);
        }
    }
    // Byte stores may alias anything, so everything the loop reads is held
    // in locals, and each pixel is assembled first and stored in one go.
    unsigned char* const destinationRow = RowAt(p.destination, y, p.destinationRowBytes);
    const int32_t* const samples = m.samples;
    const uint32_t* const columnAt = p.columnAt;
    const uint32_t width = p.width;
    for (size_t i = 0; i < stride; ++i) {
        const uint32_t x = columnAt[i];
        if (x >= width) continue;
        T pixel[N];
        for (uint32_t c = 0; c < N; ++c) pixel[c] = static_cast<T>(samples[c * stride + i]);
        std::memcpy(destinationRow + static_cast<size_t>(x * N) * sizeof(T), pixel, sizeof pixel);
    }
}

template <class T, uint32_t N>
void Rows(const Plan& p, uint32_t firstRow, uint32_t endRow, const BandMemory& m) {
    for (uint32_t y = firstRow; y < endRow; ++y) {
        std::fill(m.sums, m.sums + (N + 1) * p.stride, 0.0);
        const Footprint f = FootprintOf(y, p.rowScale, p.rowOffset);
        for (double sy = f.firstPixel; sy < f.endPixel; sy += 1.0) {
            const double wy = Coverage(sy, f.start, f.end);
            const uint32_t sourceRow = ClampToLast(sy, p.lastRow);
            const unsigned char* row = RowAt(p.source, sourceRow, p.sourceRowBytes);
            // The caller's buffer may end right after the last pixel read: a
            // row whose widest word would pass that point (the last row, and
            // rows of only a few bytes above it) is read pixel by pixel.
            if (reinterpret_cast<uintptr_t>(row) + p.lastOffset + sizeof(uint64_t) >
                reinterpret_cast<uintptr_t>(p.readLimit)) {
                AccumulateRow<T, N, true>(p, row, wy, m.sums);
            } else {
                AccumulateRow<T, N, false>(p, row, wy, m.sums);
            }
        }
        FinishRow<T, N>(p, y, m);
    }
}

template <class T>
void RowsOfWidth(const Plan& p, uint32_t firstRow, uint32_t endRow, const BandMemory& m) {
    switch (p.channels) {
        case 1: return Rows<T, 1>(p, firstRow, endRow, m);
        case 2: return Rows<T, 2>(p, firstRow, endRow, m);
        case 3: return Rows<T, 3>(p, firstRow, endRow, m);
        case 4: return Rows<T, 4>(p, firstRow, endRow, m);
        default: return;
    }
}

void SuperSampleRows(const Plan& p, uint32_t firstRow, uint32_t endRow, const BandMemory& m) {
    if (p.bytesPerSample == 1) {
        RowsOfWidth<uint8_t>(p, firstRow, endRow, m);
    } else {
        RowsOfWidth<uint16_t>(p, firstRow, endRow, m);
    }
}

}  // namespace HWY_NAMESPACE
}  // namespace lumo::supersampling
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lumo {
namespace supersampling {

HWY_EXPORT(SuperSampleRows);

namespace {

/// The destination columns' side of the footprints.
struct Columns {
    uint32_t width;
    double scale, offset;  // destination over region width; the region's left edge
    uint32_t first, last;  // the region's first and last column (repeated past the right edge)
    uint32_t channels, bytesPerSample;

    /// Byte offset of a source column's pixel within a row: its first sample
    /// index is a 32-bit product, as the per-pixel form forms it.
    int64_t OffsetOf(uint32_t column) const { return static_cast<int64_t>(column * channels) * bytesPerSample; }
    int64_t PixelBytes() const { return int64_t{channels} * bytesPerSample; }
};

/// Each column's tap count; then the columns of each run placed in order of
/// it (ties by column); then each block's count and where its tables start.
void OrderColumns(const Columns& c, size_t stride, uint32_t* tapsOf, uint32_t* columnAt, uint32_t* blockTaps,
                  size_t* blockStart) {
    for (uint32_t x = 0; x < c.width; ++x) {
        const Footprint f = FootprintOf(x, c.scale, c.offset);
        tapsOf[x] = f.endPixel > f.firstPixel ? static_cast<uint32_t>(f.endPixel - f.firstPixel) : 0;
    }
    for (size_t i = 0; i < stride; ++i) columnAt[i] = i < c.width ? static_cast<uint32_t>(i) : c.width;
    for (size_t run = 0; run < c.width; run += kSortRun) {
        std::sort(columnAt + run, columnAt + std::min<size_t>(run + kSortRun, c.width), [&](uint32_t a, uint32_t b) {
            return tapsOf[a] != tapsOf[b] ? tapsOf[a] < tapsOf[b] : a < b;
        });
    }
    blockStart[0] = 0;
    for (size_t b = 0; b < stride / kBlock; ++b) {
        uint32_t taps = 0;
        for (size_t lane = 0; lane < kBlock; ++lane) {
            const uint32_t x = columnAt[b * kBlock + lane];
            if (x < c.width) taps = std::max(taps, tapsOf[x]);
        }
        blockTaps[b] = taps;
        blockStart[b + 1] = blockStart[b] + taps * kBlock;
    }
}

/// Each tap's fraction and pixel, the footprint worked exactly as per pixel.
/// Padding taps and padding positions read a pixel that is there anyway (the
/// footprint's last one, or the region's first) with fraction 0; `fractions`
/// arrives zero-filled.
void FillColumnTables(const Columns& c, size_t stride, const uint32_t* columnAt, const uint32_t* blockTaps,
                      const size_t* blockStart, double* fractions, int64_t* offsets) {
    std::fill(offsets, offsets + blockStart[stride / kBlock], c.OffsetOf(c.first));
    for (size_t i = 0; i < stride; ++i) {
        const uint32_t x = columnAt[i];
        if (x >= c.width) continue;
        const size_t block = i / kBlock;
        double* const columnFractions = fractions + blockStart[block] + i % kBlock;
        int64_t* const columnOffsets = offsets + blockStart[block] + i % kBlock;
        const Footprint f = FootprintOf(x, c.scale, c.offset);
        size_t k = 0;
        int64_t offset = c.OffsetOf(c.first);
        for (double sx = f.firstPixel; sx < f.endPixel; sx += 1.0, ++k) {
            const uint32_t column = ClampToLast(sx, c.last);
            offset = c.OffsetOf(column);
            columnFractions[k * kBlock] = Coverage(sx, f.start, f.end);
            columnOffsets[k * kBlock] = offset;
        }
        for (; k < blockTaps[block]; ++k) columnOffsets[k * kBlock] = offset;
    }
}

/// A block reads taps 2j and 2j + 1 with one word when every lane's tap
/// 2j + 1 is the pixel right after its tap 2j, or is padding (fraction 0: any
/// sample adds nothing). Clamped columns at the right edge repeat a pixel
/// instead, so blocks there read each tap alone.
void MarkPairedBlocks(const Columns& c, size_t blocks, const uint32_t* blockTaps, const size_t* blockStart,
                      const double* fractions, const int64_t* offsets, uint32_t* blockPaired) {
    for (size_t b = 0; b < blocks; ++b) {
        bool paired = true;
        for (size_t k = 0; k + 1 < blockTaps[b]; k += 2) {
            for (size_t lane = 0; lane < kBlock; ++lane) {
                const size_t at = blockStart[b] + k * kBlock + lane;
                paired = paired &&
                         (offsets[at + kBlock] == offsets[at] + c.PixelBytes() || fractions[at + kBlock] == 0.0);
            }
        }
        blockPaired[b] = paired ? 1 : 0;
    }
}

// Without room for the tables the footprints are worked out pixel by pixel,
// as the plain kernel does: it needs no memory and gives the same bytes, so a
// call never comes back without its pixels (the method answers 0 anyway).
LumoResult WithoutTables(const ResizeRequest& r) { return reference::SuperSampling(r); }

LumoResult Run(const ResizeRequest& r) {
    AssertAdmitted(r);
    assert(r.channels <= kMaxChannels);
    const auto rows = static_cast<int32_t>(r.destination.size.height);
    const uint32_t width = r.destination.size.width;
    // Short binary fractions everywhere (whole-number reductions among them):
    // integer box sums give the same bytes for a fraction of the work.
    if (SuperSampleExactly(r)) return kLumoResultOK;

    const Columns columns{width,
                          static_cast<double>(width) / static_cast<double>(r.region.width),
                          static_cast<double>(r.region.x),
                          static_cast<uint32_t>(r.region.x),
                          static_cast<uint32_t>(r.region.x) + r.region.width - 1,
                          r.channels,
                          r.bytesPerSample};
    const size_t stride = (static_cast<size_t>(width) + kBlock - 1) / kBlock * kBlock;
    const size_t blocks = stride / kBlock;
    // Each source byte costs about sixteen copied ones (RowBands; measured
    // near 3:2): it is read by about two footprints and turned into doubles.
    const uint64_t sourceBytes = uint64_t{r.region.width} * r.region.height * r.channels * r.bytesPerSample;
    const RowBands bands(static_cast<uint32_t>(rows), 16 * sourceBytes);
    const size_t sumsPerBand = (r.channels + 1) * stride;
    const size_t samplesPerBand = r.channels * stride;

    const WorkArray<uint32_t> indices = MakeWorkArray<uint32_t>(2 * stride + 2 * blocks);
    const WorkArray<size_t> blockStart = MakeWorkArray<size_t>(blocks + 1);
    if (!indices || !blockStart) return WithoutTables(r);
    uint32_t* const columnAt = indices.get();
    uint32_t* const tapsOf = columnAt + stride;
    uint32_t* const blockTaps = tapsOf + stride;
    uint32_t* const blockPaired = blockTaps + blocks;
    OrderColumns(columns, stride, tapsOf, columnAt, blockTaps, blockStart.get());

    const size_t entries = std::max<size_t>(blockStart[blocks], 1);
    const WorkArray<double> fractions = MakeWorkArray<double>(entries);
    const WorkArray<int64_t> offsets = MakeWorkArray<int64_t>(entries);
    const WorkArray<double> sums = MakeWorkArray<double>(sumsPerBand * bands.count());
    const WorkArray<int32_t> samples = MakeWorkArray<int32_t>(samplesPerBand * bands.count());
    if (!fractions || !offsets || !sums || !samples) return WithoutTables(r);
    FillColumnTables(columns, stride, columnAt, blockTaps, blockStart.get(), fractions.get(), offsets.get());
    MarkPairedBlocks(columns, blocks, blockTaps, blockStart.get(), fractions.get(), offsets.get(), blockPaired);

    const Call call = CallOf(r);
    const Plan plan{call,
                    stride,
                    columnAt,
                    blockTaps,
                    blockPaired,
                    blockStart.get(),
                    fractions.get(),
                    offsets.get(),
                    columns.OffsetOf(columns.last),
                    RowAt(r.source.data, call.lastRow, r.source.rowBytes) + columns.OffsetOf(columns.last) +
                        columns.PixelBytes()};
    const auto superSampleRows = LUMO_DYNAMIC_DISPATCH(SuperSampleRows);
    bands.Run([&](uint32_t band, uint32_t firstRow, uint32_t endRow) {
        const BandMemory memory{sums.get() + band * sumsPerBand, samples.get() + band * samplesPerBand};
        superSampleRows(plan, firstRow, endRow, memory);
    });
    return kLumoResultOK;
}

}  // namespace
}  // namespace supersampling

LumoResult SuperSampling(const ResizeRequest& request) { return supersampling::Run(request); }

}  // namespace lumo
#endif  // HWY_ONCE
