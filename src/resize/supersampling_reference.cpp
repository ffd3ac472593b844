// The plain area-averaging kernels: footprints and weights worked out per
// source pixel visited, exactly as they are defined. The fast kernels in
// supersampling.cpp must give the same bytes; the differential tests and the
// benchmark compare them with these.
//
// Area-averaging reduction: each destination pixel is the mean of the source
// pixels under its footprint, each weighted by the part of it inside the
// footprint. Weights are worked out per source pixel visited, so a call
// allocates nothing. The mean divides by the weights actually accumulated:
// where a footprint reaches past the last row or column, the edge pixel takes
// the weight of the part outside.
#include <cassert>
#include <cmath>
#include <cstdint>
#include <limits>

#include "pool/thread_pool.h"
#include "resize/kernels.h"
#include "resize/sample_access.h"
#include "resize/supersampling_plan.h"

namespace lumo::reference {
namespace {

/// Accumulators per destination pixel: the most channels an averaged pixel may have.
constexpr uint32_t kMaxChannels = 4;

/// What every row of one call shares, read-only.
struct Footprints {
    uint32_t channels;
    const unsigned char* source;  // the whole source, also for a region
    uint32_t sourceRowBytes;
    unsigned char* destination;
    tagLumoSize destinationSize;
    uint32_t destinationRowBytes;
    double scaleX, scaleY;    // destination over source (or over the region)
    double offsetX, offsetY;  // where the first footprint starts: the region's origin
    uint32_t lastColumn, lastRow;  // the edge pixels repeated past the right and bottom
};

using supersampling::ClampToLast;
using supersampling::WholeThroughInt32;

template <class T>
void SuperSampleRow(const Footprints& f, uint32_t y) {
    const uint32_t width = f.destinationSize.width;
    const uint32_t n = f.channels;
    if (width == 0) return;
    unsigned char* destinationRow = RowAt(f.destination, y, f.destinationRowBytes);

    const double y0 = static_cast<double>(y) / f.scaleY + f.offsetY;
    const double y1 = static_cast<double>(y + 1) / f.scaleY + f.offsetY;
    const double rowStart = WholeThroughInt32(std::floor(y0));
    const double rowEnd = WholeThroughInt32(std::ceil(y1));

    for (uint32_t x = 0; x < width; ++x) {
        double sum[kMaxChannels] = {};
        double weight[kMaxChannels] = {};
        if (rowEnd > rowStart) {
            const double x0 = static_cast<double>(x) / f.scaleX + f.offsetX;
            const double x1 = static_cast<double>(x + 1) / f.scaleX + f.offsetX;
            const double columnStart = WholeThroughInt32(std::floor(x0));
            const double columnEnd = WholeThroughInt32(std::ceil(x1));
            for (double sy = rowStart; sy < rowEnd; sy += 1.0) {
                // The part of row sy inside the footprint; the first test wins
                // when the footprint lies within one row.
                double wy;
                if (y0 > sy) {
                    wy = (sy - y0) + 1.0;
                } else if (sy > y1 - 1.0) {
                    wy = y1 - sy;
                } else {
                    wy = 1.0;
                }
                const unsigned char* sourceRow = RowAt(f.source, ClampToLast(sy, f.lastRow), f.sourceRowBytes);
                for (double sx = columnStart; sx < columnEnd; sx += 1.0) {
                    double w;
                    if (x0 > sx) {
                        w = ((sx - x0) + 1.0) * wy;
                    } else if (sx > x1 - 1.0) {
                        w = (x1 - sx) * wy;
                    } else {
                        w = wy;
                    }
                    const uint32_t column = ClampToLast(sx, f.lastColumn);
                    for (uint32_t c = 0; c < n; ++c) {
                        sum[c] = static_cast<double>(LoadSample<T>(sourceRow, column * n + c)) * w + sum[c];
                        weight[c] = weight[c] + w;
                    }
                }
            }
        }
        // Truncated, not rounded; a pixel that no source pixel reached is 0/0
        // and becomes 0.
        for (uint32_t c = 0; c < n; ++c) {
            int32_t v = TruncateToInt32(sum[c] / weight[c]);
            if (v <= 0) v = 0;
            if (v >= std::numeric_limits<T>::max()) v = std::numeric_limits<T>::max();
            StoreSample<T>(destinationRow, x * n + c, static_cast<T>(v));
        }
    }
}

template <class T>
LumoResult SuperSample(const Footprints& f) {
    assert(f.channels <= kMaxChannels);  // one accumulator per channel
    const auto rows = static_cast<int32_t>(f.destinationSize.height);
    parallel_for(0, rows, 1, [&f](int y) { SuperSampleRow<T>(f, static_cast<uint32_t>(y)); });
    return kLumoResultOK;
}

/// Footprints in absolute source coordinates, scaled to the region and
/// clamped to its right and bottom edges; the whole source's size plays no
/// part. A whole image is the region at (0, 0) that covers it.
Footprints Region(const ResizeRequest& r) {
    const uint32_t channels = r.channels;
    const tagLumoRect region = r.region;
    const unsigned char* source = r.source.data;
    const uint32_t sourceRowBytes = r.source.rowBytes;
    unsigned char* destination = r.destination.data;
    const tagLumoSize destinationSize = r.destination.size;
    const uint32_t destinationRowBytes = r.destination.rowBytes;
    const uint32_t right = static_cast<uint32_t>(region.x) + region.width;
    const uint32_t bottom = static_cast<uint32_t>(region.y) + region.height;
    return Footprints{channels,
                      source,
                      sourceRowBytes,
                      destination,
                      destinationSize,
                      destinationRowBytes,
                      static_cast<double>(destinationSize.width) / static_cast<double>(region.width),
                      static_cast<double>(destinationSize.height) / static_cast<double>(region.height),
                      static_cast<double>(region.x),
                      static_cast<double>(region.y),
                      right - 1,
                      bottom - 1};
}

}  // namespace

LumoResult SuperSampling(const ResizeRequest& request) {
    AssertAdmitted(request);
    return request.bytesPerSample == 1 ? SuperSample<uint8_t>(Region(request)) : SuperSample<uint16_t>(Region(request));
}

}  // namespace lumo::reference
