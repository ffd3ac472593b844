// The per-call set-up that bilinear and bicubic share: the same tables, bands
// and working block, differing only in their tap count and weights.
#include <cstdint>

#include "common/work_memory.h"
#include "resize/resize_request.h"
#include "resize/separable_resize.h"

namespace lumo {

LumoResult RunInterpolatingResize(const ResizeRequest& r, uint32_t taps, TapTableBuilder build) {
    AssertAdmitted(r);
    // Taps clamp to the region's edges, so nothing outside it is read, and
    // the whole source's size plays no part.
    const SourceView input = RegionView(r);
    const uint32_t width = r.destination.size.width;
    const uint32_t height = r.destination.size.height;

    SeparableJob job{r.channels, taps,  input.data, input.size.width, input.rowBytes, r.destination.data,
                     r.destination.rowBytes, width, height, nullptr, nullptr, nullptr, nullptr};
    const RowBands bands = SeparableBands(job);
    // Table counts are 32-bit products, as they always were.
    const WorkArray<double> columnWeights = MakeWorkArray<double>(taps * width);
    const WorkArray<double> rowWeights = MakeWorkArray<double>(taps * height);
    const WorkArray<uint32_t> columnTaps = MakeWorkArray<uint32_t>(taps * width);
    const WorkArray<uint32_t> rowTaps = MakeWorkArray<uint32_t>(taps * height);
    const WorkArray<unsigned char> work =
        MakeWorkArray<unsigned char>(SeparableWorkBytes(job, r.bytesPerSample, bands.count()));
    if (!columnWeights || !rowWeights || !columnTaps || !rowTaps || !work) return kLumoResultNoMemory;

    build(width, input.size.width, columnTaps.get(), columnWeights.get());
    build(height, input.size.height, rowTaps.get(), rowWeights.get());
    job.columnTaps = columnTaps.get();
    job.columnWeights = columnWeights.get();
    job.rowTaps = rowTaps.get();
    job.rowWeights = rowWeights.get();
    if (r.bytesPerSample == 1) {
        RunSeparable8(job, work.get(), bands);
    } else {
        RunSeparable16(job, work.get(), bands);
    }
    return kLumoResultOK;
}

}  // namespace lumo
