// The per-call set-up that bilinear and bicubic share: the same tables, plan,
// bands and working block, differing only in their tap count and weights.
#include <cstdint>
#include <string>

#include "common/work_memory.h"
#include "resize/resize_request.h"
#include "resize/separable_resize.h"

namespace lumo {
namespace {

/// The job of a request with its tap tables, built by `build` for both axes.
struct Tables {
    SeparableJob job;
    WorkArray<double> columnWeights;
    WorkArray<double> rowWeights;
    WorkArray<uint32_t> columnTaps;
    WorkArray<uint32_t> rowTaps;

    Tables(const ResizeRequest& r, uint32_t taps, TapTableBuilder build) {
        AssertAdmitted(r);
        // Taps clamp to the region's edges, so nothing outside it is read, and
        // the whole source's size plays no part.
        const SourceView input = RegionView(r);
        const uint32_t width = r.destination.size.width;
        const uint32_t height = r.destination.size.height;
        job = SeparableJob{r.channels, taps,  input.data, input.size.width, input.rowBytes, r.destination.data,
                           r.destination.rowBytes, width, height, nullptr, nullptr, nullptr, nullptr};
        // Table counts are 32-bit products, as they always were.
        columnWeights = MakeWorkArray<double>(taps * width);
        rowWeights = MakeWorkArray<double>(taps * height);
        columnTaps = MakeWorkArray<uint32_t>(taps * width);
        rowTaps = MakeWorkArray<uint32_t>(taps * height);
        if (!Built()) return;
        build(width, input.size.width, columnTaps.get(), columnWeights.get());
        build(height, input.size.height, rowTaps.get(), rowWeights.get());
        job.columnTaps = columnTaps.get();
        job.columnWeights = columnWeights.get();
        job.rowTaps = rowTaps.get();
        job.rowWeights = rowWeights.get();
    }

    bool Built() const { return columnWeights && rowWeights && columnTaps && rowTaps; }
};

}  // namespace

LumoResult RunInterpolatingResize(const ResizeRequest& r, uint32_t taps, TapTableBuilder build) {
    const Tables tables(r, taps, build);
    if (!tables.Built()) return kLumoResultNoMemory;
    const RowBands bands = SeparableBands(tables.job, r.bytesPerSample);
    const RowPlan plan = PlanSeparable(tables.job, r.bytesPerSample, bands.count());
    const WorkArray<unsigned char> work = MakeWorkArray<unsigned char>(plan.layout.totalBytes);
    if (!work) return kLumoResultNoMemory;
    if (r.bytesPerSample == 1) {
        RunSeparable8(tables.job, plan, work.get(), bands);
    } else {
        RunSeparable16(tables.job, plan, work.get(), bands);
    }
    return kLumoResultOK;
}

std::string DescribeInterpolatingResize(const ResizeRequest& r, uint32_t taps, TapTableBuilder build) {
    const Tables tables(r, taps, build);
    if (!tables.Built()) return "no memory for the tap tables";
    const uint32_t bands = SeparableBands(tables.job, r.bytesPerSample).count();
    return DescribeRowPlan(PlanSeparable(tables.job, r.bytesPerSample, bands));
}

}  // namespace lumo
