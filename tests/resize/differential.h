// Differential checks of each method's fast kernel against its plain one:
// cases over depths, channel counts, sizes (1-pixel sides, primes, neighbours
// of the vector widths), row padding, worker counts and regions whose buffer
// ends with the region's last sample, compared byte for byte (destination
// padding included), one named test per vector target that the kernels are
// compiled for and this processor runs.
#pragma once

#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "lumomath/LumoMath.h"
#include "resize/kernel_harness.h"
#include "resize/test_image.h"
#include "vector_targets.h"

namespace lumo::test {

/// What the source holds: random samples, blocks of equal samples (every
/// 8-bit value among them) or the top value everywhere.
enum class Fill { kRandom, kBlocks, kTop };

struct DifferentialCase {
    uint32_t bits = 8;
    uint32_t channels = 1;
    tagLumoSize source{};
    tagLumoSize destination{};
    tagLumoRect region{};  // inside the source
    uint32_t sourcePadding = 0;
    uint32_t destinationPadding = 0;
    uint32_t bands = 1;  // row bands, spread over a pool of four workers
    uint32_t seed = 0;
    Fill fill = Fill::kRandom;
};

inline std::ostream& operator<<(std::ostream& out, const DifferentialCase& c) {
    return out << c.bits << "-bit, " << c.channels << " channels, " << c.source.width << "x" << c.source.height
               << " (+" << c.sourcePadding << " bytes) -> " << c.destination.width << "x" << c.destination.height
               << " (+" << c.destinationPadding << "), region " << c.region.x << "," << c.region.y << " "
               << c.region.width << "x" << c.region.height << ", " << c.bands << " bands, seed " << c.seed
               << ", fill " << static_cast<int>(c.fill);
}

/// A whole number below `n`.
inline uint32_t Below(std::mt19937& rng, uint32_t n) { return static_cast<uint32_t>(rng() % n); }

inline TestImage SourceOf(const DifferentialCase& c) {
    TestImage im = TestImage::Random(c.source.width, c.source.height, c.channels, c.bits, c.sourcePadding, c.seed);
    if (c.fill == Fill::kRandom) return im;
    const uint32_t scale = c.bits == 8 ? 1 : 257;
    for (uint32_t y = 0; y < im.height; ++y)
        for (uint32_t x = 0; x < im.width; ++x)
            for (uint32_t ch = 0; ch < c.channels; ++ch)
                im.Set(x, y, ch, scale * (c.fill == Fill::kTop ? 255 : ((x / 5) * 7 + (y / 4) * 13 + 11 * ch) % 256));
    return im;
}

/// Runs the fast and the plain kernel of `method` on one case, as a whole
/// image and as a region of which nothing else is allocated, and expects the
/// same result and the same bytes. A case the admission refuses is not run:
/// the answer is false.
inline bool ExpectFastMatchesPlain(const ResizeMethod& method, const DifferentialCase& c) {
    const TestImage source = SourceOf(c);
    TestImage fast = TestImage::Make(c.destination.width, c.destination.height, c.channels, c.bits,
                                     c.destinationPadding);
    if (!Admitted(method.id, source, fast)) return false;
    SCOPED_TRACE(::testing::Message() << method.name << ": " << c);
    lumo::testing::SplitEveryJobInto(c.bands);
    const Kernel fastKernel{method, false}, plainKernel{method, true};
    TestImage plain = fast;
    EXPECT_EQ(fastKernel(source, fast), plainKernel(source, plain));
    EXPECT_EQ(fast.bytes, plain.bytes) << "whole image";

    const RegionSource region(source, c.region);
    TestImage fastRegion = TestImage::Make(c.destination.width, c.destination.height, c.channels, c.bits,
                                           c.destinationPadding);
    TestImage plainRegion = fastRegion;
    EXPECT_EQ(fastKernel(region.Request(fastRegion)), plainKernel(region.Request(plainRegion)));
    EXPECT_EQ(fastRegion.bytes, plainRegion.bytes) << "region";
    return true;
}

/// A test run once per vector target that the kernels are compiled for (each
/// forced in turn; skipped where this processor lacks it) and per method.
class OnEachTarget : public ::testing::TestWithParam<std::tuple<int64_t, ResizeMethod>> {
protected:
    // One pool for the whole test, its workers started once: each case picks
    // its band count, small images included, so bands start mid-image
    // without a thread start per call (which under an emulator costs more
    // than the case).
    void SetUp() override {
        LUMO_RUN_ON_TARGET(std::get<0>(GetParam()));
        Set_ProcessorNum(4);
        m_pool = HoldPool();
    }
    void TearDown() override {
        lumo::testing::SplitEveryJobInto(0);
        m_pool.reset();
        hwy::SetSupportedTargetsForTest(0);
        Set_ProcessorNum(0);
    }
    PoolHold m_pool;
    const ResizeMethod& method() const { return std::get<1>(GetParam()); }
};

/// Instance names such as AVX2_bilinear, so that a failure names its target.
inline std::string TargetAndMethod(const ::testing::TestParamInfo<OnEachTarget::ParamType>& info) {
    return std::string(hwy::TargetName(std::get<0>(info.param))) + "_" + std::get<1>(info.param).name;
}

#define LUMO_INSTANTIATE_ON_EACH_TARGET(suite, methods)                                                      \
    INSTANTIATE_TEST_SUITE_P(Targets, suite,                                                                 \
                             ::testing::Combine(::testing::ValuesIn(::lumo::test::CompiledTargets()),       \
                                                methods),                                                    \
                             ::lumo::test::TargetAndMethod)

}  // namespace lumo::test
