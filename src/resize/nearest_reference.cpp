// The plain nearest-neighbour kernels: the mapping worked out pixel by pixel,
// exactly as it is defined. The fast kernels in nearest.cpp must give the same
// bytes; the differential tests and the benchmark compare them with these.
//
// Nearest-neighbour scaling: every destination pixel is a copy of the one
// source pixel its coordinate maps to. Nothing is interpolated, so the 8- and
// 16-bit kernels differ only in the width of the copied sample.
#include <cstdint>

#include "pool/thread_pool.h"
#include "resize/kernels.h"
#include "resize/nearest_mapping.h"
#include "resize/sample_access.h"

namespace lumo::reference {
namespace {

template <class T>
void NearestRow(const ResizeRequest& r, double scaleX, double scaleY, uint32_t y) {
    const uint32_t sy = SourceCoordinate(y, scaleY, r.region.y, r.source.size.height);
    const unsigned char* sourceRow = RowAt(r.source.data, sy, r.source.rowBytes);
    unsigned char* destinationRow = RowAt(r.destination.data, y, r.destination.rowBytes);
    for (uint32_t x = 0; x < r.destination.size.width; ++x) {
        const uint32_t sx = SourceCoordinate(x, scaleX, r.region.x, r.source.size.width);
        for (uint32_t c = 0; c < r.channels; ++c) {
            StoreSample<T>(destinationRow, x * r.channels + c, LoadSample<T>(sourceRow, sx * r.channels + c));
        }
    }
}

// A whole image is the region {0, 0, width, height}: adding a zero origin to
// the quotient leaves it unchanged.
template <class T>
LumoResult NearestResize(const ResizeRequest& r) {
    const double scaleX = static_cast<double>(r.destination.size.width) / static_cast<double>(r.region.width);
    const double scaleY = static_cast<double>(r.destination.size.height) / static_cast<double>(r.region.height);
    parallel_for<int32_t>(0, static_cast<int32_t>(r.destination.size.height), 1, [&](int32_t y) {
        NearestRow<T>(r, scaleX, scaleY, static_cast<uint32_t>(y));
    });
    return kLumoResultOK;
}

}  // namespace

LumoResult NearestNeighbor(const ResizeRequest& request) {
    AssertAdmitted(request);
    return request.bytesPerSample == 1 ? NearestResize<uint8_t>(request) : NearestResize<uint16_t>(request);
}

}  // namespace lumo::reference
