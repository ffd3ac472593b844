// Calling resize kernels on test images, and sources that hold nothing but a
// region, so that a read outside the region leaves the allocation.
//
// Two ways to name the kernels under test: a KernelSet holds a method's four
// kernels, a KernelPair one width's whole-image and region kernel (for tables
// that run over widths and channel counts).
#pragma once

#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "lumomath/LumoMath.h"
#include "resize/test_image.h"

namespace lumo::test {

using Kernel = LumoResult (*)(uint32_t, const unsigned char*, tagLumoSize, uint32_t, unsigned char*, tagLumoSize,
                              uint32_t);
using RegionKernel = LumoResult (*)(uint32_t, const unsigned char*, tagLumoSize, uint32_t, tagLumoRect,
                                    unsigned char*, tagLumoSize, uint32_t);

/// Names a parameterised case after its `name` field.
struct CaseName {
    template <class Param>
    std::string operator()(const ::testing::TestParamInfo<Param>& info) const {
        return info.param.name;
    }
};

/// The kernels of one method at both depths.
struct KernelSet {
    Kernel whole8, whole16;
    RegionKernel region8, region16;
    Kernel Whole(uint32_t bits) const { return bits == 8 ? whole8 : whole16; }
    RegionKernel Region(uint32_t bits) const { return bits == 8 ? region8 : region16; }
};

inline uint32_t BitsOf(const TestImage& im) { return im.bytesPerSample * 8; }

inline LumoResult Resize(const KernelSet& k, const TestImage& source, TestImage& destination) {
    return k.Whole(BitsOf(source))(source.channels, source.Data(), source.Size(), source.rowBytes,
                                   destination.Data(), destination.Size(), destination.rowBytes);
}

inline LumoResult ResizeRegion(const KernelSet& k, const TestImage& source, tagLumoRect region,
                               TestImage& destination) {
    return k.Region(BitsOf(source))(source.channels, source.Data(), source.Size(), source.rowBytes, region,
                                    destination.Data(), destination.Size(), destination.rowBytes);
}

/// An image whose samples hold a random pattern, to show which ones a call wrote.
inline TestImage Patterned(uint32_t width, uint32_t height, uint32_t channels, uint32_t bits, uint32_t padding,
                           uint32_t seed) {
    TestImage im = TestImage::Make(width, height, channels, bits, padding);
    im.FillRandom(seed);
    return im;
}

/// A one-channel image holding `samples` row after row, its rows padded by 3 bytes.
inline TestImage OneChannel(tagLumoSize size, uint32_t bits, const std::vector<uint32_t>& samples) {
    TestImage im = TestImage::Make(size.width, size.height, 1, bits, 3);
    for (uint32_t i = 0; i < samples.size(); ++i) im.Set(i % size.width, i / size.width, 0, samples[i]);
    return im;
}

struct Shape {
    tagLumoSize source;
    tagLumoSize destination;
};

/// Property cases over a sample depth and a shape. Each test runs several
/// channel counts, calling Prepare() for each.
class ShapeTest : public ::testing::TestWithParam<std::tuple<uint32_t /*bits*/, Shape>> {
protected:
    /// A random source of `channelCount` channels with padded rows.
    void Prepare(uint32_t channelCount) {
        std::tie(bits, shape) = GetParam();
        channels = channelCount;
        source = Patterned(shape.source.width, shape.source.height, channels, bits, 7, channels * 31 + bits);
    }
    void TearDown() override { Set_ProcessorNum(0); }

    /// Runs `check` for each channel count from 1 to `most`, after Prepare().
    template <class Check>
    void ForEachChannelCount(uint32_t most, Check check) {
        for (uint32_t n = 1; n <= most; ++n) {
            SCOPED_TRACE(::testing::Message() << n << " channels");
            Prepare(n);
            check();
        }
    }

    /// A zeroed destination of the shape, its rows padded with the canary.
    TestImage Destination() const {
        return TestImage::Make(shape.destination.width, shape.destination.height, channels, bits, 6);
    }

    /// The output bytes do not depend on how many workers share the rows, and
    /// no worker writes into the row padding.
    void ExpectSameBytesWhateverTheThreadCount(const KernelSet& k) {
        std::vector<unsigned char> first;
        for (const uint32_t threads : {1u, 2u, 3u, 7u}) {
            Set_ProcessorNum(threads);
            TestImage destination = Destination();
            ASSERT_EQ(Resize(k, source, destination), kLumoResultOK);
            EXPECT_TRUE(destination.PaddingIntact()) << threads << " threads";
            if (first.empty()) {
                first = destination.bytes;
            } else {
                EXPECT_EQ(destination.bytes, first) << threads << " threads";
            }
        }
    }

    void ExpectRegionCoveringTheSourceToGiveTheWholeImageOutput(const KernelSet& k) {
        TestImage whole = Destination();
        TestImage fromRegion = Destination();
        ASSERT_EQ(Resize(k, source, whole), kLumoResultOK);
        const tagLumoRect all{0, 0, source.width, source.height};
        ASSERT_EQ(ResizeRegion(k, source, all, fromRegion), kLumoResultOK);
        EXPECT_EQ(fromRegion.bytes, whole.bytes);
    }

    uint32_t channels = 1;
    uint32_t bits = 8;
    Shape shape{};
    TestImage source;
};

/// A source of which only `region` is allocated: the heap block begins at the
/// region's first sample and ends after its last, so any read left of, above,
/// right of or below the region is a heap overflow. The bytes between the
/// region's rows belong to pixels outside it; FillOutside changes them to show
/// that they are not read either.
class RegionSource {
public:
    /// `inside` holds the region's samples (region.width x region.height); the
    /// rows of the source are `gapBytes` longer than the region's.
    RegionSource(const TestImage& inside, tagLumoRect region, uint32_t gapBytes)
        : m_region(region),
          m_channels(inside.channels),
          m_bits(BitsOf(inside)),
          m_rowBytes(inside.width * inside.channels * inside.bytesPerSample + gapBytes),
          m_gapBytes(gapBytes) {
        const uint32_t used = m_rowBytes - gapBytes;
        m_bytes.resize(static_cast<size_t>(inside.height - 1) * m_rowBytes + used);
        for (uint32_t y = 0; y < inside.height; ++y)
            std::memcpy(m_bytes.data() + static_cast<size_t>(y) * m_rowBytes, inside.Row(y), used);
    }

    void FillOutside(uint32_t seed) {
        std::mt19937 rng(seed);
        const uint32_t used = m_rowBytes - m_gapBytes;
        for (uint32_t y = 0; y + 1 < m_region.height; ++y)
            for (uint32_t i = used; i < m_rowBytes; ++i)
                m_bytes[static_cast<size_t>(y) * m_rowBytes + i] = static_cast<unsigned char>(rng());
    }

    /// Runs a region kernel on this source; the whole source is said to be `sourceSize`.
    LumoResult Resize(const KernelSet& k, tagLumoSize sourceSize, TestImage& destination) const {
        return k.Region(m_bits)(m_channels, Source(), sourceSize, m_rowBytes, m_region, destination.Data(),
                                destination.Size(), destination.rowBytes);
    }

private:
    /// Where the whole source would start. It lies before the allocation and is
    /// never dereferenced; the address is formed as an integer for that reason.
    const unsigned char* Source() const {
        const uintptr_t before = static_cast<uintptr_t>(m_region.y) * m_rowBytes +
                                 static_cast<uintptr_t>(m_region.x) * m_channels * (m_bits / 8);
        return reinterpret_cast<const unsigned char*>(reinterpret_cast<uintptr_t>(m_bytes.data()) - before);
    }

    tagLumoRect m_region;
    uint32_t m_channels;
    uint32_t m_bits;
    uint32_t m_rowBytes;
    uint32_t m_gapBytes;
    std::vector<unsigned char> m_bytes;
};

/// One sample width of a method: its whole-image and its region kernel.
struct KernelPair {
    const char* name;
    uint32_t bitsPerSample;
    Kernel whole;
    RegionKernel region;
};

inline std::ostream& operator<<(std::ostream& out, const KernelPair& k) { return out << k.name; }

inline LumoResult RunWhole(const KernelPair& k, const TestImage& source, TestImage& destination) {
    return k.whole(source.channels, source.Data(), source.Size(), source.rowBytes, destination.Data(),
                   destination.Size(), destination.rowBytes);
}

inline LumoResult RunRegion(const KernelPair& k, const TestImage& source, tagLumoRect region,
                            TestImage& destination) {
    return k.region(source.channels, source.Data(), source.Size(), source.rowBytes, region, destination.Data(),
                    destination.Size(), destination.rowBytes);
}

inline tagLumoRect WholeOf(const TestImage& image) { return {0, 0, image.width, image.height}; }

/// The samples of `region` (inside the image) as an image of their own.
inline TestImage Crop(const TestImage& image, tagLumoRect region) {
    TestImage out = TestImage::Make(region.width, region.height, image.channels, BitsOf(image));
    for (uint32_t y = 0; y < region.height; ++y)
        for (uint32_t x = 0; x < region.width; ++x)
            for (uint32_t c = 0; c < image.channels; ++c)
                out.Set(x, y, c, image.Get(static_cast<uint32_t>(region.x) + x, static_cast<uint32_t>(region.y) + y, c));
    return out;
}

/// Channel `c` of an image as a one-channel image.
inline TestImage Plane(const TestImage& image, uint32_t c) {
    TestImage out = TestImage::Make(image.width, image.height, 1, BitsOf(image));
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < image.width; ++x) out.Set(x, y, 0, image.Get(x, y, c));
    return out;
}

/// Properties of one method, run for each sample width and channel count.
class KernelPropertyTest : public ::testing::TestWithParam<std::tuple<KernelPair, uint32_t>> {
protected:
    void TearDown() override { Set_ProcessorNum(0); }

    const KernelPair& kernel() const { return std::get<0>(GetParam()); }
    uint32_t channels() const { return std::get<1>(GetParam()); }
    /// Random samples in rows with padding.
    TestImage RandomSource(tagLumoSize size, uint32_t seed, uint32_t padding = 5) const {
        return Patterned(size.width, size.height, channels(), kernel().bitsPerSample, padding, seed * 7 + channels());
    }
    /// A destination whose row padding shows any write past the pixels.
    TestImage Destination(tagLumoSize size) const {
        return TestImage::Make(size.width, size.height, channels(), kernel().bitsPerSample, 7);
    }

    /// Resizes `source` to `size` as a whole and as the region that covers all
    /// of it, expects both to agree, and returns the samples.
    std::vector<uint32_t> ResizeWholeAndAsRegion(const TestImage& source, tagLumoSize size) const {
        TestImage whole = Destination(size);
        TestImage region = Destination(size);
        EXPECT_EQ(RunWhole(kernel(), source, whole), kLumoResultOK);
        EXPECT_EQ(RunRegion(kernel(), source, WholeOf(source), region), kLumoResultOK);
        EXPECT_EQ(region.Samples(), whole.Samples());
        EXPECT_TRUE(whole.PaddingIntact());
        EXPECT_TRUE(region.PaddingIntact());
        return whole.Samples();
    }

    /// Resizes the whole source and `region` of it with 1, 2, 3 and 7 workers
    /// and expects the same bytes each time, none of them in the row padding.
    void ExpectSameOutputForAnyWorkerCount(const TestImage& source, tagLumoSize wholeSize, tagLumoRect region,
                                           tagLumoSize regionSize) const {
        std::vector<unsigned char> firstWhole;
        std::vector<unsigned char> firstRegion;
        for (const uint32_t threads : {1u, 2u, 3u, 7u}) {
            Set_ProcessorNum(threads);
            TestImage whole = Destination(wholeSize);
            TestImage inRegion = Destination(regionSize);
            ASSERT_EQ(RunWhole(kernel(), source, whole), kLumoResultOK);
            ASSERT_EQ(RunRegion(kernel(), source, region, inRegion), kLumoResultOK);
            EXPECT_TRUE(whole.PaddingIntact());
            EXPECT_TRUE(inRegion.PaddingIntact());
            if (firstWhole.empty()) {
                firstWhole = whole.bytes;
                firstRegion = inRegion.bytes;
            } else {
                EXPECT_EQ(whole.bytes, firstWhole) << threads << " threads";
                EXPECT_EQ(inRegion.bytes, firstRegion) << threads << " threads";
            }
        }
    }
};

}  // namespace lumo::test
