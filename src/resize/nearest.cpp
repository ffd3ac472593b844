// Nearest-neighbour scaling: every destination pixel is a copy of the one
// source pixel its coordinate maps to. Nothing is interpolated, so the 8- and
// 16-bit kernels differ only in the width of the copied sample.
//
// The source column of each destination column is the same in every row, so
// it is worked out once per call, with the same quotient as per pixel; a row
// is then a gather of fixed-size pixels through that map, and a destination
// row that maps to the same source row as the one above it is a copy of it.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/work_memory.h"
#include "resize/kernels.h"
#include "resize/nearest_mapping.h"
#include "resize/row_bands.h"
#include "resize/sample_access.h"

namespace lumo {
namespace {

// A pixel of a constant size is copied with one or two moves instead of a
// call into memcpy.
template <size_t PixelBytes>
void GatherRow(unsigned char* destination, const unsigned char* sourceRow, const size_t* columnOffsets,
               uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) {
        std::memcpy(destination + static_cast<size_t>(x) * PixelBytes, sourceRow + columnOffsets[x], PixelBytes);
    }
}

void GatherRowAnySize(unsigned char* destination, const unsigned char* sourceRow, const size_t* columnOffsets,
                      uint32_t width, size_t pixelBytes) {
    for (uint32_t x = 0; x < width; ++x) {
        std::memcpy(destination + x * pixelBytes, sourceRow + columnOffsets[x], pixelBytes);
    }
}

using RowGather = void (*)(unsigned char*, const unsigned char*, const size_t*, uint32_t);

RowGather GatherForPixelSize(size_t pixelBytes) {
    switch (pixelBytes) {
        case 1: return GatherRow<1>;
        case 2: return GatherRow<2>;
        case 3: return GatherRow<3>;
        case 4: return GatherRow<4>;
        case 5: return GatherRow<5>;
        case 6: return GatherRow<6>;
        case 7: return GatherRow<7>;
        case 8: return GatherRow<8>;
        default: return nullptr;
    }
}

template <class T>
LumoResult NearestResize(const ResizeRequest& r) {
    const SourceView source = r.source;
    const DestinationView destination = r.destination;
    const tagLumoRect region = r.region;
    const uint32_t channels = r.channels;
    const uint32_t width = destination.size.width;
    const uint32_t rows = destination.size.height;
    const double scaleX = static_cast<double>(width) / static_cast<double>(region.width);
    const double scaleY = static_cast<double>(rows) / static_cast<double>(region.height);

    // Byte offset of each destination column's source pixel within a row:
    // sample index sx * channels in 32 bits, as a per-pixel copy forms it.
    const WorkArray<size_t> columnOffsets = MakeWorkArray<size_t>(width);
    // Without room for the map, the pixels are mapped one by one, which gives
    // the same bytes.
    if (!columnOffsets) return reference::NearestNeighbor(r);
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t sx = SourceCoordinate(x, scaleX, region.x, source.size.width);
        columnOffsets[x] = static_cast<size_t>(sx * channels) * sizeof(T);
    }

    const size_t pixelBytes = static_cast<size_t>(channels) * sizeof(T);
    const size_t rowBytes = pixelBytes * width;
    const RowGather gather = GatherForPixelSize(pixelBytes);
    // Work is the bytes touched: each destination row, and of its source row
    // what the copies read, a cache line per pixel once pixels lie far apart.
    const uint64_t sourceRowBytes = std::min(uint64_t{region.width} * pixelBytes, uint64_t{width} * 64);
    const RowBands bands(rows, uint64_t{rows} * (rowBytes + sourceRowBytes));
    bands.Run([&](uint32_t, uint32_t firstRow, uint32_t endRow) {
        uint32_t previousSourceRow = 0;
        for (uint32_t y = firstRow; y < endRow; ++y) {
            const uint32_t sy = SourceCoordinate(y, scaleY, region.y, source.size.height);
            unsigned char* destinationRow = RowAt(destination.data, y, destination.rowBytes);
            if (y > firstRow && sy == previousSourceRow) {
                std::memcpy(destinationRow, RowAt(destination.data, y - 1, destination.rowBytes), rowBytes);
            } else if (gather) {
                gather(destinationRow, RowAt(source.data, sy, source.rowBytes), columnOffsets.get(), width);
            } else {
                GatherRowAnySize(destinationRow, RowAt(source.data, sy, source.rowBytes), columnOffsets.get(), width,
                                 pixelBytes);
            }
            previousSourceRow = sy;
        }
    });
    return kLumoResultOK;
}

}  // namespace

LumoResult NearestNeighbor(const ResizeRequest& request) {
    AssertAdmitted(request);
    return request.bytesPerSample == 1 ? NearestResize<uint8_t>(request) : NearestResize<uint16_t>(request);
}

}  // namespace lumo
