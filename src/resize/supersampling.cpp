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
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "resize/kernels.h"
#include "resize/row_bands.h"
#include "resize/sample_access.h"
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

using D = hn::ScalableTag<double>;
using DU = hn::RebindToUnsigned<D>;
using DI = hn::RebindToSigned<D>;

constexpr size_t kPrefetchAhead = 1024;  // bytes

// Each lane's pixel, read as exactly its own bytes: for the last source row,
// where an 8-byte gather of the last pixel would leave the caller's buffer.
template <class T, uint32_t N>
HWY_INLINE hn::Vec<DU> ExactPixels(const unsigned char* row, const int64_t* offsets) {
    const DU du;
    uint64_t words[HWY_MAX_BYTES / sizeof(uint64_t)] = {};
    for (size_t i = 0; i < hn::Lanes(du); ++i) std::memcpy(&words[i], row + offsets[i], N * sizeof(T));
    return hn::LoadU(du, words);
}

// Adds one source row, with row fraction wy, to the sums of every
// destination column. A pixel's samples arrive in one 64-bit word; sample c
// is bits [c * width, (c + 1) * width). A sample becomes a double exactly by
// placing it in the mantissa of 2^52 and subtracting 2^52.
template <class T, uint32_t N, bool kExactReads>
HWY_NOINLINE void AccumulateRow(const Plan& p, const unsigned char* row, double wy, double* HWY_RESTRICT sums) {
    const D d;
    const DU du;
    const DI di;
    constexpr int kSampleBits = 8 * sizeof(T);
    const auto sampleMask = hn::Set(du, (uint64_t{1} << kSampleBits) - 1);
    const auto twoTo52Bits = hn::Set(du, uint64_t{0x4330000000000000});
    const auto twoTo52 = hn::Set(d, 4503599627370496.0);
    const auto rowFraction = hn::Set(d, wy);
    const auto* rowWords = reinterpret_cast<const int64_t*>(row);
    const size_t stride = p.stride;

    for (size_t x = 0; x < stride; x += hn::Lanes(d)) {
        // Gathers do not train the hardware prefetcher: fetch the row ahead
        // of the columns being read, or every new cache line waits on memory.
        hwy::Prefetch(row + p.columnOffsets[x] + kPrefetchAhead);
        hwy::Prefetch(row + p.columnOffsets[x] + kPrefetchAhead + 64);
        hn::Vec<D> sum[N];
        for (uint32_t c = 0; c < N; ++c) sum[c] = hn::LoadU(d, sums + c * stride + x);
        auto weight = hn::LoadU(d, sums + N * stride + x);
        for (size_t k = 0; k < p.taps; ++k) {
            const size_t at = k * stride + x;
            const auto w = hn::Mul(hn::LoadU(d, p.columnFractions + at), rowFraction);
            hn::Vec<DU> pixel;
            if constexpr (kExactReads) {
                pixel = ExactPixels<T, N>(row, p.columnOffsets + at);
            } else {
                pixel = hn::BitCast(du, hn::GatherOffset(di, rowWords, hn::LoadU(di, p.columnOffsets + at)));
            }
            for (uint32_t c = 0; c < N; ++c) {
                const auto bits =
                    hn::Or(hn::And(hn::ShiftRightSame(pixel, static_cast<int>(c) * kSampleBits), sampleMask),
                           twoTo52Bits);
                const auto s = hn::Sub(hn::BitCast(d, bits), twoTo52);
                sum[c] = hn::Add(hn::Mul(s, w), sum[c]);
            }
            weight = hn::Add(weight, w);
        }
        for (uint32_t c = 0; c < N; ++c) hn::StoreU(sum[c], d, sums + c * stride + x);
        hn::StoreU(weight, d, sums + N * stride + x);
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
    unsigned char* destinationRow = RowAt(p.destination, y, p.destinationRowBytes);
    for (uint32_t x = 0; x < p.width; ++x) {
        for (uint32_t c = 0; c < N; ++c) {
            StoreSample<T>(destinationRow, x * N + c, static_cast<T>(m.samples[c * stride + x]));
        }
    }
}

template <class T, uint32_t N>
void Rows(const Plan& p, uint32_t firstRow, uint32_t endRow, const BandMemory& m) {
    for (uint32_t y = firstRow; y < endRow; ++y) {
        std::fill(m.sums, m.sums + (N + 1) * p.stride, 0.0);
        const Footprint f = FootprintOf(y, p.scaleY, p.offsetY);
        for (double sy = f.firstPixel; sy < f.endPixel; sy += 1.0) {
            const double wy = Coverage(sy, f.start, f.end);
            const uint32_t sourceRow = ClampToLast(sy, p.lastRow);
            const unsigned char* row = RowAt(p.source, sourceRow, p.sourceRowBytes);
            if (sourceRow == p.lastRow) {
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

/// Entries per tap in the tables: every vector of the widest target reads
/// whole vectors (64 bytes of doubles).
constexpr size_t kStrideMultiple = 8;

struct Request {
    uint32_t channels;
    uint32_t bytesPerSample;
    const unsigned char* source;
    uint32_t sourceRowBytes;
    tagLumoRect region;  // footprints in absolute source coordinates
    unsigned char* destination;
    tagLumoSize destinationSize;
    uint32_t destinationRowBytes;
};

LumoResult Run(const Request& r) {
    // More channels than a pixel word holds: nothing is written.
    if (r.channels > kMaxChannels || r.channels == 0) return kLumoResultOK;
    const auto rows = static_cast<int32_t>(r.destinationSize.height);
    if (rows < 1) return kLumoResultOK;
    const uint32_t width = r.destinationSize.width;
    if (width == 0) return kLumoResultOK;

    const uint32_t right = static_cast<uint32_t>(r.region.x) + r.region.width;
    const uint32_t bottom = static_cast<uint32_t>(r.region.y) + r.region.height;
    const uint32_t lastColumn = right - 1;
    const double scaleX = static_cast<double>(width) / static_cast<double>(r.region.width);
    const double offsetX = static_cast<double>(r.region.x);

    // Columns: how many source columns the widest footprint covers.
    size_t taps = 0;
    for (uint32_t x = 0; x < width; ++x) {
        const Footprint f = FootprintOf(x, scaleX, offsetX);
        if (f.endPixel > f.firstPixel) taps = std::max(taps, static_cast<size_t>(f.endPixel - f.firstPixel));
    }
    const size_t stride = (static_cast<size_t>(width) + kStrideMultiple - 1) / kStrideMultiple * kStrideMultiple;
    const size_t entries = std::max<size_t>(taps, 1) * stride;

    const RowBands bands(static_cast<uint32_t>(rows));
    const size_t sumsPerBand = (r.channels + 1) * stride;
    const size_t samplesPerBand = r.channels * stride;
    const WorkArray<double> fractions = MakeWorkArray<double>(entries);
    const WorkArray<int64_t> offsets = MakeWorkArray<int64_t>(entries);
    const WorkArray<double> sums = MakeWorkArray<double>(sumsPerBand * bands.count());
    const WorkArray<int32_t> samples = MakeWorkArray<int32_t>(samplesPerBand * bands.count());
    if (!fractions || !offsets || !sums || !samples) return kLumoResultOK;  // nothing written

    // Padding taps and padding columns read a pixel that is there anyway,
    // the footprint's last one or the region's first, with fraction 0.
    const int64_t firstColumnOffset = static_cast<int64_t>(static_cast<uint32_t>(r.region.x) * r.channels) *
                                      r.bytesPerSample;
    std::fill(offsets.get(), offsets.get() + entries, firstColumnOffset);
    for (uint32_t x = 0; x < width; ++x) {
        const Footprint f = FootprintOf(x, scaleX, offsetX);
        size_t k = 0;
        int64_t offset = firstColumnOffset;
        for (double sx = f.firstPixel; sx < f.endPixel; sx += 1.0, ++k) {
            const uint32_t column = ClampToLast(sx, lastColumn);
            offset = static_cast<int64_t>(column * r.channels) * r.bytesPerSample;
            fractions[k * stride + x] = Coverage(sx, f.start, f.end);
            offsets[k * stride + x] = offset;
        }
        for (; k < taps; ++k) offsets[k * stride + x] = offset;
    }

    const Plan plan{r.channels,
                    r.bytesPerSample,
                    r.source,
                    r.sourceRowBytes,
                    r.destination,
                    r.destinationRowBytes,
                    width,
                    stride,
                    taps,
                    fractions.get(),
                    offsets.get(),
                    static_cast<double>(r.destinationSize.height) / static_cast<double>(r.region.height),
                    static_cast<double>(r.region.y),
                    bottom - 1};
    const auto superSampleRows = HWY_DYNAMIC_DISPATCH(SuperSampleRows);
    bands.Run([&](uint32_t band, uint32_t firstRow, uint32_t endRow) {
        const BandMemory memory{sums.get() + band * sumsPerBand, samples.get() + band * samplesPerBand};
        superSampleRows(plan, firstRow, endRow, memory);
    });
    return kLumoResultOK;
}

tagLumoRect WholeImage(tagLumoSize size) { return {0, 0, size.width, size.height}; }

}  // namespace
}  // namespace supersampling

LumoResult SuperSampling8(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                          uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                          uint32_t destinationRowBytes) {
    return supersampling::Run({channels, 1, source, sourceRowBytes, supersampling::WholeImage(sourceSize),
                               destination, destinationSize, destinationRowBytes});
}

LumoResult SuperSampling16(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                           uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                           uint32_t destinationRowBytes) {
    return supersampling::Run({channels, 2, source, sourceRowBytes, supersampling::WholeImage(sourceSize),
                               destination, destinationSize, destinationRowBytes});
}

LumoResult SuperSampling8WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                                    uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                                    tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return supersampling::Run(
        {channels, 1, source, sourceRowBytes, region, destination, destinationSize, destinationRowBytes});
}

LumoResult SuperSampling16WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize /*sourceSize*/,
                                     uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                                     tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return supersampling::Run(
        {channels, 2, source, sourceRowBytes, region, destination, destinationSize, destinationRowBytes});
}

}  // namespace lumo
#endif  // HWY_ONCE
