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

// Everything a row needs; it lives in the kernel's frame for the whole
// parallel_for, and the rows only read it.
struct NearestJob {
    uint32_t channels;
    const unsigned char* source;
    tagLumoSize sourceSize;
    uint32_t sourceRowBytes;
    unsigned char* destination;
    tagLumoSize destinationSize;
    uint32_t destinationRowBytes;
    int32_t originX;  // where the mapping starts: the region's origin, 0 for a whole image
    int32_t originY;
    double scaleX;  // destination over input size
    double scaleY;
};

template <class T>
void NearestRow(const NearestJob& job, uint32_t y) {
    const uint32_t sy = SourceCoordinate(y, job.scaleY, job.originY, job.sourceSize.height);
    const unsigned char* sourceRow = RowAt(job.source, sy, job.sourceRowBytes);
    unsigned char* destinationRow = RowAt(job.destination, y, job.destinationRowBytes);
    for (uint32_t x = 0; x < job.destinationSize.width; ++x) {
        const uint32_t sx = SourceCoordinate(x, job.scaleX, job.originX, job.sourceSize.width);
        for (uint32_t c = 0; c < job.channels; ++c) {
            StoreSample<T>(destinationRow, x * job.channels + c, LoadSample<T>(sourceRow, sx * job.channels + c));
        }
    }
}

// A whole image is the region {0, 0, width, height}: adding a zero origin to
// the quotient leaves it unchanged, so both variants share this body.
template <class T>
LumoResult NearestResize(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                         uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                         tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    if (destinationSize.height == 0) return kLumoResultOK;
    // An empty source has no pixel to repeat (the clamp would wrap to 2^32 - 1).
    if (sourceSize.width == 0 || sourceSize.height == 0) return kLumoResultOK;

    const NearestJob job{channels,
                         source,
                         sourceSize,
                         sourceRowBytes,
                         destination,
                         destinationSize,
                         destinationRowBytes,
                         region.x,
                         region.y,
                         static_cast<double>(destinationSize.width) / static_cast<double>(region.width),
                         static_cast<double>(destinationSize.height) / static_cast<double>(region.height)};
    parallel_for<int32_t>(0, static_cast<int32_t>(destinationSize.height), 1,
                          [&job](int32_t y) { NearestRow<T>(job, static_cast<uint32_t>(y)); });
    return kLumoResultOK;
}

}  // namespace

LumoResult NearestNeighbor8(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                            uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                            uint32_t destinationRowBytes) {
    return NearestResize<uint8_t>(channels, source, sourceSize, sourceRowBytes, WholeImage(sourceSize),
                                  destination, destinationSize, destinationRowBytes);
}

LumoResult NearestNeighbor16(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                             uint32_t sourceRowBytes, unsigned char* destination, tagLumoSize destinationSize,
                             uint32_t destinationRowBytes) {
    return NearestResize<uint16_t>(channels, source, sourceSize, sourceRowBytes, WholeImage(sourceSize),
                                   destination, destinationSize, destinationRowBytes);
}

LumoResult NearestNeighbor8WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                                      uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                                      tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return NearestResize<uint8_t>(channels, source, sourceSize, sourceRowBytes, region, destination,
                                  destinationSize, destinationRowBytes);
}

LumoResult NearestNeighbor16WithRegion(uint32_t channels, const unsigned char* source, tagLumoSize sourceSize,
                                       uint32_t sourceRowBytes, tagLumoRect region, unsigned char* destination,
                                       tagLumoSize destinationSize, uint32_t destinationRowBytes) {
    return NearestResize<uint16_t>(channels, source, sourceSize, sourceRowBytes, region, destination,
                                   destinationSize, destinationRowBytes);
}

}  // namespace lumo::reference
