// Differential checks of the fast resize kernels against the plain reference
// kernels: random cases over depths, channel counts, sizes (1-pixel sides,
// primes, neighbours of the vector widths), row padding, worker counts and
// regions whose source buffer ends with the region's last sample, compared
// byte for byte (destination padding included) on every vector target that
// the kernels are compiled for and this processor runs.
#pragma once

#include <cstdint>
#include <ostream>
#include <random>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "lumomath/LumoMath.h"
#include "resize/kernel_harness.h"
#include "resize/test_image.h"

namespace lumo::test {

/// A method's fast kernels beside its plain reference ones.
struct DifferentialMethod {
    const char* name;
    KernelSet fast;
    KernelSet reference;
};

struct DifferentialCase {
    uint32_t bits = 8;
    uint32_t channels = 1;
    tagLumoSize source{};
    tagLumoSize destination{};
    tagLumoRect region{};  // inside the source
    uint32_t sourcePadding = 0;
    uint32_t destinationPadding = 0;
    uint32_t threads = 1;
    uint32_t seed = 0;
};

inline std::ostream& operator<<(std::ostream& out, const DifferentialCase& c) {
    return out << c.bits << "-bit, " << c.channels << " channels, " << c.source.width << "x" << c.source.height
               << " (+" << c.sourcePadding << " bytes) -> " << c.destination.width << "x" << c.destination.height
               << " (+" << c.destinationPadding << "), region " << c.region.x << "," << c.region.y << " "
               << c.region.width << "x" << c.region.height << ", " << c.threads << " threads, seed " << c.seed;
}

/// A whole number below `n`.
inline uint32_t Below(std::mt19937& rng, uint32_t n) { return static_cast<uint32_t>(rng() % n); }

/// A side length: mostly one of the sizes where edge and tail handling go
/// wrong, sometimes any size up to 160.
inline uint32_t DrawSide(std::mt19937& rng) {
    static constexpr uint32_t kSides[] = {1, 2, 3, 4, 5, 7, 8, 9, 11, 13, 15, 16, 17, 31, 32, 33, 47, 63, 64, 65, 97, 131};
    if (Below(rng, 10) < 7) return kSides[Below(rng, sizeof kSides / sizeof kSides[0])];
    return 1 + Below(rng, 160);
}

inline DifferentialCase DrawCase(std::mt19937& rng) {
    DifferentialCase c;
    c.bits = Below(rng, 2) ? 16 : 8;
    c.channels = 1 + Below(rng, 6);
    c.source = {DrawSide(rng), DrawSide(rng)};
    c.destination = {DrawSide(rng), DrawSide(rng)};
    c.region.width = 1 + Below(rng, c.source.width);
    c.region.height = 1 + Below(rng, c.source.height);
    c.region.x = static_cast<int32_t>(Below(rng, c.source.width - c.region.width + 1));
    c.region.y = static_cast<int32_t>(Below(rng, c.source.height - c.region.height + 1));
    c.sourcePadding = Below(rng, 3) == 0 ? Below(rng, 19) : 0;
    c.destinationPadding = Below(rng, 3) == 0 ? 1 + Below(rng, 13) : 0;
    c.threads = 1 + Below(rng, 4);
    c.seed = static_cast<uint32_t>(rng());
    return c;
}

/// Runs the fast and the reference kernels of `method` on one case, as a whole
/// image and as a region, and expects the same result code and the same bytes.
inline void ExpectFastMatchesReference(const DifferentialMethod& method, const DifferentialCase& c) {
    SCOPED_TRACE(::testing::Message() << method.name << ": " << c);
    Set_ProcessorNum(c.threads);
    const TestImage source =
        Patterned(c.source.width, c.source.height, c.channels, c.bits, c.sourcePadding, c.seed);

    TestImage fast = TestImage::Make(c.destination.width, c.destination.height, c.channels, c.bits,
                                     c.destinationPadding);
    TestImage reference = fast;
    EXPECT_EQ(Resize(method.fast, source, fast), Resize(method.reference, source, reference));
    EXPECT_EQ(fast.bytes, reference.bytes) << "whole image";

    // Nothing before the region's first sample or after its last is allocated.
    const RegionSource inRegion(Crop(source, c.region), c.region, c.sourcePadding + 3);
    TestImage fastRegion = TestImage::Make(c.destination.width, c.destination.height, c.channels, c.bits,
                                           c.destinationPadding);
    TestImage referenceRegion = fastRegion;
    EXPECT_EQ(inRegion.Resize(method.fast, c.source, fastRegion),
              inRegion.Resize(method.reference, c.source, referenceRegion));
    EXPECT_EQ(fastRegion.bytes, referenceRegion.bytes) << "region";
}

/// Runs `check` once on every vector target the kernels are compiled for and
/// this processor runs, the lower ones forced in turn.
template <class Check>
void ForEachVectorTarget(const Check& check) {
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        SCOPED_TRACE(hwy::TargetName(target));
        check();
    }
    hwy::SetSupportedTargetsForTest(0);
    Set_ProcessorNum(0);
}

/// `count` random cases from `seed`, run on every vector target in turn;
/// stops at the first differing case of a target.
inline void ExpectFastMatchesReferenceOnRandomCases(const DifferentialMethod& method, uint32_t count,
                                                    uint32_t seed) {
    ForEachVectorTarget([&] {
        std::mt19937 rng(seed);
        for (uint32_t i = 0; i < count && !::testing::Test::HasFailure(); ++i)
            ExpectFastMatchesReference(method, DrawCase(rng));
    });
}

/// One chosen case (say a large one, where the main loops run long and the
/// tails are far from the start) on every vector target.
inline void ExpectFastMatchesReferenceOnEveryTarget(const DifferentialMethod& method, const DifferentialCase& c) {
    ForEachVectorTarget([&] { ExpectFastMatchesReference(method, c); });
}

}  // namespace lumo::test
