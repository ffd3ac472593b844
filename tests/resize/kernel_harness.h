// Calling the kernels of the method table on test images, and sources that
// hold nothing but a region, so that a read outside the region leaves the
// allocation. A kernel trusts its request, so every call here is put to the
// admission first, as the entry points do: no test feeds a kernel a request
// that a caller could not.
#pragma once

#include <cstdint>
#include <cstring>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "frame/admission.h"
#include "frame/resize_methods.h"
#include "pool/thread_pool.h"
#include "resize/test_image.h"

namespace lumo::test {

/// Names a parameterised case after its `name` field.
struct CaseName {
    template <class Param>
    std::string operator()(const ::testing::TestParamInfo<Param>& info) const {
        return info.param.name;
    }
};

inline uint32_t BitsOf(const TestImage& im) { return im.bytesPerSample * 8; }

inline ResizeRequest RequestFor(const TestImage& source, tagLumoRect region, TestImage& destination) {
    return {source.channels, source.bytesPerSample, source.View(), region, destination.Out()};
}

inline bool Admitted(LumoScalingMethod method, const ResizeRequest& r) {
    return AdmitResize(method, r.bytesPerSample * 8, r) == Admission::Proceed;
}

/// Whether `method` admits resizing the whole of `source` onto `destination`.
inline bool Admitted(LumoScalingMethod method, const TestImage& source, TestImage& destination) {
    return Admitted(method, RequestFor(source, WholeImage(source.Size()), destination));
}

/// One kernel of the table: a method's fast or its plain form.
struct Kernel {
    ResizeMethod method;
    bool plain;

    LumoResult operator()(const ResizeRequest& r) const {
        if (!Admitted(method.id, r)) {
            ADD_FAILURE() << *this << " handed a request the admission refuses";
            return kLumoResultInvalidParameter;
        }
        return (plain ? method.plain : method.fast)(r);
    }
    LumoResult operator()(const TestImage& source, tagLumoRect region, TestImage& destination) const {
        return (*this)(RequestFor(source, region, destination));
    }
    LumoResult operator()(const TestImage& source, TestImage& destination) const {
        return (*this)(source, WholeImage(source.Size()), destination);
    }
    friend std::ostream& operator<<(std::ostream& out, const Kernel& k) {
        return out << k.method.name << (k.plain ? "_plain" : "_fast");
    }
};

/// Both kernels of every method.
inline std::vector<Kernel> AllKernels() {
    std::vector<Kernel> all;
    for (const ResizeMethod& m : kResizeMethods)
        for (const bool plain : {false, true}) all.push_back({m, plain});
    return all;
}

/// A one-channel image holding `samples` row after row, its rows padded by 3 bytes.
inline TestImage OneChannel(tagLumoSize size, uint32_t bits, const std::vector<uint32_t>& samples) {
    TestImage im = TestImage::Make(size.width, size.height, 1, bits, 3);
    for (uint32_t i = 0; i < samples.size(); ++i) im.Set(i % size.width, i / size.width, 0, samples[i]);
    return im;
}

/// The samples of `region` (inside the image) as an image of their own.
inline TestImage Crop(const TestImage& image, tagLumoRect region) {
    TestImage out = TestImage::Make(region.width, region.height, image.channels, BitsOf(image));
    for (uint32_t y = 0; y < region.height; ++y)
        for (uint32_t x = 0; x < region.width; ++x)
            for (uint32_t c = 0; c < image.channels; ++c)
                out.Set(x, y, c, image.Get(region.x + x, region.y + y, c));
    return out;
}

/// Channel `c` of an image as a one-channel image.
inline TestImage Plane(const TestImage& image, uint32_t c) {
    TestImage out = TestImage::Make(image.width, image.height, 1, BitsOf(image));
    for (uint32_t y = 0; y < image.height; ++y)
        for (uint32_t x = 0; x < image.width; ++x) out.Set(x, y, 0, image.Get(x, y, c));
    return out;
}

/// A source of which only `region` (inside `source`) is allocated: the heap
/// block holds the source's bytes from the region's first sample to its
/// last, so any read left of, above, right of or below the region is a heap
/// overflow. The bytes between the region's rows belong to pixels outside it;
/// FillOutside changes them to show that they are not read either.
class RegionSource {
public:
    RegionSource(const TestImage& source, tagLumoRect region)
        : m_source(source.Size()), m_region(region), m_channels(source.channels),
          m_bytesPerSample(source.bytesPerSample), m_rowBytes(source.rowBytes) {
        const size_t first = static_cast<size_t>(region.y) * m_rowBytes + Offset(region.x);
        const size_t lastRow = region.y + region.height - 1;
        const size_t last = lastRow * m_rowBytes + Offset(region.x + region.width);
        m_bytes.assign(source.Data() + first, source.Data() + last);
        m_before = first;
    }

    void FillOutside(uint32_t seed) {
        std::mt19937 rng(seed);
        for (uint32_t y = 0; y + 1 < m_region.height; ++y)
            for (size_t i = Offset(m_region.width); i < m_rowBytes; ++i)
                m_bytes[y * m_rowBytes + i] = static_cast<unsigned char>(rng());
    }

    ResizeRequest Request(TestImage& destination) const {
        // Where the whole source would start lies before the allocation and is
        // never dereferenced; the address is formed as an integer for that reason.
        const uintptr_t start = reinterpret_cast<uintptr_t>(m_bytes.data());
        const auto origin = reinterpret_cast<const unsigned char*>(start - m_before);
        return {m_channels, m_bytesPerSample, {origin, m_source, m_rowBytes}, m_region, destination.Out()};
    }

private:
    size_t Offset(int64_t pixels) const { return static_cast<size_t>(pixels) * m_channels * m_bytesPerSample; }

    tagLumoSize m_source;
    tagLumoRect m_region;
    uint32_t m_channels, m_bytesPerSample, m_rowBytes;
    size_t m_before = 0;
    std::vector<unsigned char> m_bytes;
};

}  // namespace lumo::test
