// Calling resize kernels on test images, and sources that hold nothing but a
// region, so that a read outside the region leaves the allocation.
#pragma once

#include <cstdint>
#include <cstring>
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

}  // namespace lumo::test
