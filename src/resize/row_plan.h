// How the fused band engine covers one call, decided once before any row
// runs: the row strategy, the destination columns each kind of lane covers,
// and where the parts of the working block lie. The row loop then only calls
// what the plan picked; printing the plan tells which path an image took.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace lumo {

/// How the row pass computes the samples of an intermediate row. Every
/// strategy yields the bytes of the plain kernels; they differ in speed only.
enum class RowStrategy : uint8_t {
    kHalving,      // 8-bit two-tap exact 2x: byte means in shuffles (halving_row.h)
    kFloatLanes,   // 8-bit two-tap of 3 or 4 channels: float lanes from floatFrom (two_tap_float.h)
    kDoubleLanes,  // 3 or 4 channels: a pixel's channels in double lanes
    kPlain,        // other channel counts: the plain loops
};

/// The working block: the weight table of kFloatLanes at its start (empty for
/// the other strategies), then one ring of `taps` intermediate rows per band.
struct WorkLayout {
    std::size_t tableBytes;  // a multiple of 32, so that the rings after it stay aligned
    std::size_t ringBytes;   // per band
    uint32_t rings;
    std::size_t totalBytes;  // SIZE_MAX, which no allocator grants, when it cannot fit in memory

    std::size_t RingOffset(uint32_t band) const { return tableBytes + static_cast<std::size_t>(band) * ringBytes; }
};

/// One call's plan. Pixels below `vectorColumns` may use vector loads and
/// stores that reach a little past a pixel. Float lanes run from `floatFrom`
/// (the width when they do not run); `floatExact` when the float sums equal
/// the double sums there, so no vector is redone.
struct RowPlan {
    RowStrategy strategy;
    uint32_t bytesPerSample;
    uint32_t channels;
    uint32_t taps;
    uint32_t width;   // destination pixels per row
    uint32_t height;  // destination rows
    uint32_t vectorColumns;
    uint32_t floatFrom;
    bool floatExact;
    WorkLayout layout;
    /// kHalving: how many destination rows have the weights 0.5 and 0.5 too,
    /// and so go straight from two input rows to the destination.
    uint32_t halvingRows;
    /// kHalving: the shuffle lanes of BuildHalvingLanes.
    alignas(16) uint8_t halvingLanes[64];
    /// kFloatLanes, bound to the block's table when the bands run: the weights
    /// of column x for each of its 4 lanes at floatWeights[4x + c] (first tap)
    /// and floatWeights[4 * width + 4x + c] (second tap), and the same table
    /// in double at doubleWeights.
    const float* floatWeights;
    const double* doubleWeights;
};

/// The plan in one line, for triage: strategy, column groups, rows and bands,
/// and the working block.
std::string DescribeRowPlan(const RowPlan& plan);

}  // namespace lumo
