// Calling resize kernels on test images, and sources that hold nothing but a
// region, so that a read outside the region leaves the allocation.
#pragma once

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
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
