// What every kernel of the method table keeps, fast and plain, at both sample
// widths and 1 to 6 channels, over shapes that enlarge, reduce, mix both and
// keep single pixels, rows and columns. A shape or channel count that the
// method's admission refuses is left out for that method.
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "common/work_memory.h"
#include "resize/kernel_harness.h"

namespace {

using lumo::test::Kernel;
using lumo::test::TestImage;

struct Shape {
    tagLumoSize source, destination;
};

const Shape kShapes[] = {
    {{7, 5}, {11, 9}},     // enlarge both
    {{13, 4}, {5, 6}},     // reduce across, enlarge down
    {{6, 4}, {13, 3}},     // enlarge across, reduce down
    {{12, 10}, {4, 7}},    // reduce both
    {{7, 5}, {3, 2}},      // uneven footprints
    {{15, 13}, {11, 15}},  // the last footprints end a hair past the last column and row
    {{1, 1}, {3, 2}},      // one pixel spread out
    {{1, 5}, {4, 1}},      // one column to one row
    {{9, 1}, {2, 1}},
    {{3, 1}, {1, 9}},
};

class KernelProperty : public ::testing::TestWithParam<std::tuple<Kernel, uint32_t /*bits*/>> {
protected:
    void TearDown() override {
        Set_ProcessorNum(0);
        lumo::testing::SplitEveryJobInto(0);
        lumo::testing::ResetWorkAllocationFailures();
    }
    const Kernel& kernel() const { return std::get<0>(GetParam()); }
    uint32_t bits() const { return std::get<1>(GetParam()); }

    /// Runs `check(source, destination)` for every shape and channel count
    /// the method admits, on a random source with padded rows and a zeroed
    /// destination whose padding shows any write past the pixels.
    template <class Check>
    void ForEachAdmittedShape(Check check) const {
        uint32_t seed = 0;
        for (const Shape& shape : kShapes) {
            for (uint32_t channels = 1; channels <= 6; ++channels) {
                const TestImage source =
                    TestImage::Random(shape.source.width, shape.source.height, channels, bits(), 5, ++seed);
                TestImage destination = Blank(shape.destination, channels);
                if (!lumo::test::Admitted(kernel().method.id, source, destination)) continue;
                SCOPED_TRACE(::testing::Message() << shape.source.width << "x" << shape.source.height << " -> "
                                                  << shape.destination.width << "x" << shape.destination.height
                                                  << ", " << channels << " channels");
                check(source, destination);
            }
        }
    }

    TestImage Blank(tagLumoSize size, uint32_t channels) const {
        return TestImage::Make(size.width, size.height, channels, bits(), 7);
    }
};

std::string KernelPropertyName(const ::testing::TestParamInfo<KernelProperty::ParamType>& info) {
    return ::testing::PrintToString(std::get<0>(info.param)) + "_" + std::to_string(std::get<1>(info.param));
}

// The output bytes do not depend on how many workers share the rows, and no
// worker writes into the row padding, for the whole image and for a region.
TEST_P(KernelProperty, SameBytesWhateverTheWorkerCount) {
    ForEachAdmittedShape([&](const TestImage& source, const TestImage& blank) {
        const uint32_t x = source.width / 3, y = source.height / 4;
        const tagLumoRect region{static_cast<int32_t>(x), static_cast<int32_t>(y), source.width - x, source.height - y};
        std::vector<unsigned char> first[2];
        for (const uint32_t threads : {1u, 2u, 3u, 7u}) {
            Set_ProcessorNum(threads);
            lumo::testing::SplitEveryJobInto(threads);  // small images too
            for (const bool inRegion : {false, true}) {
                TestImage destination = blank;
                ASSERT_EQ(inRegion ? kernel()(source, region, destination) : kernel()(source, destination),
                          kLumoResultOK);
                EXPECT_TRUE(destination.PaddingIntact()) << threads << " threads";
                if (first[inRegion].empty()) first[inRegion] = destination.bytes;
                EXPECT_EQ(destination.bytes, first[inRegion]) << threads << " threads, region " << inRegion;
            }
        }
    });
}

// Only the region is allocated, so a read above, below, left or right of it
// faults under ASan, and the bytes between its rows change from run to run,
// so reading them would show in the output. The interpolating methods read a
// region as an image of its own: their output is that of a copy of just the
// region (nearest neighbour and averaging map through the region's origin,
// whose rounding can differ).
TEST_P(KernelProperty, NothingAroundTheRegionIsRead) {
    const lumo::ResizeMethod& m = kernel().method;
    const bool asImageOfItsOwn = m.id == kLumoScalingBiLinear || m.id == kLumoScalingBiCubic;
    ForEachAdmittedShape([&](const TestImage& alone, const TestImage& blank) {
        // The same samples as a region at (2, 3) of a source 5 wider and 4 taller.
        TestImage source = TestImage::Random(alone.width + 5, alone.height + 4, alone.channels, bits(), 3, 9);
        const tagLumoRect region{2, 3, alone.width, alone.height};
        for (uint32_t y = 0; y < alone.height; ++y)
            for (uint32_t x = 0; x < alone.width; ++x)
                for (uint32_t c = 0; c < alone.channels; ++c) source.Set(x + 2, y + 3, c, alone.Get(x, y, c));
        lumo::test::RegionSource onlyRegion(source, region);
        TestImage expected = blank;
        ASSERT_EQ(asImageOfItsOwn ? kernel()(alone, expected) : kernel()(source, region, expected), kLumoResultOK);
        for (const uint32_t outsideSeed : {1u, 2u}) {
            onlyRegion.FillOutside(outsideSeed);
            TestImage destination = blank;
            ASSERT_EQ(kernel()(onlyRegion.Request(destination)), kLumoResultOK);
            EXPECT_EQ(destination.bytes, expected.bytes);
        }
    });
}

TEST_P(KernelProperty, EachChannelIsResizedOnItsOwn) {
    ForEachAdmittedShape([&](const TestImage& source, const TestImage& blank) {
        TestImage destination = blank;
        ASSERT_EQ(kernel()(source, destination), kLumoResultOK);
        for (uint32_t c = 0; c < source.channels; ++c) {
            const TestImage plane = lumo::test::Plane(source, c);
            TestImage planeOut = Blank(destination.Size(), 1);
            ASSERT_EQ(kernel()(plane, planeOut), kLumoResultOK);
            EXPECT_EQ(lumo::test::Plane(destination, c).Samples(), planeOut.Samples()) << "channel " << c;
        }
    });
}

// (Averaging is not admitted at equal sizes.)
TEST_P(KernelProperty, EqualSizesCopyTheImage) {
    ForEachAdmittedShape([&](const TestImage& source, const TestImage&) {
        TestImage destination = Blank(source.Size(), source.channels);
        if (!lumo::test::Admitted(kernel().method.id, source, destination)) return;
        ASSERT_EQ(kernel()(source, destination), kLumoResultOK);
        EXPECT_EQ(destination.Samples(), source.Samples());
        EXPECT_TRUE(destination.PaddingIntact());
    });
}

// Each working block in turn cannot be had: a method whose result reaches the
// caller reports it before writing anything and frees what it got (ASan's
// leak check sees any block that stays); the others fall back to work that
// needs less and give the same bytes.
TEST_P(KernelProperty, MissingWorkingMemoryIsReportedOrWorkedAround) {
    ForEachAdmittedShape([&](const TestImage& source, const TestImage& blank) {
        TestImage expected = blank;
        ASSERT_EQ(kernel()(source, expected), kLumoResultOK);
        for (int successes = 0; successes < 64; ++successes) {
            TestImage destination = blank;
            lumo::testing::FailWorkAllocationsAfter(successes);
            const LumoResult result = kernel()(source, destination);
            const int asked = lumo::testing::WorkAllocationCount();
            lumo::testing::ResetWorkAllocationFailures();
            if (result == kLumoResultOK) {
                EXPECT_EQ(destination.bytes, expected.bytes) << successes << " blocks obtained";
            } else {
                EXPECT_TRUE(kernel().method.reportsKernelResult) << successes << " blocks obtained";
                EXPECT_EQ(result, kLumoResultNoMemory) << successes << " blocks obtained";
                EXPECT_EQ(destination.bytes, blank.bytes) << successes << " blocks obtained";
            }
            if (asked <= successes) break;  // nothing failed this time
        }
    });
}

INSTANTIATE_TEST_SUITE_P(AllKernels, KernelProperty,
                         ::testing::Combine(::testing::ValuesIn(lumo::test::AllKernels()), ::testing::Values(8u, 16u)),
                         KernelPropertyName);

}  // namespace
