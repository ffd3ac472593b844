// The library's outputs, pinned: fixed generated images resized through the
// three entry points (every method, whole image and region, 8 and 16 bit,
// 1 to 4 channels, odd row padding), each destination buffer hashed with its
// padding and compared with output_hashes.txt. The same list must hold on
// every architecture and every vector target, which is what makes the bytes
// the library's and not the processor's: CI checks it natively on x86-64 and
// under emulation on 64-bit Arm (NEON and SVE).
//
// A change of the list is a change of the library's outputs. To write the
// list this build computes (on the best target), run the test with
// LUMOMATH_WRITE_OUTPUT_HASHES set to the file to write.
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "lumomath/LumoMath.h"
#include "resize/test_image.h"
#include "vector_targets.h"

namespace {

using lumo::test::TestImage;

struct Shape {
    tagLumoSize source, destination;
};

// Reductions by odd factors, an exact halving, enlargements, mixed axes and a
// tall narrow image, with regions that start off the origin.
constexpr Shape kShapes[] = {{{97, 61}, {40, 30}},   {{64, 48}, {128, 96}},  {{300, 200}, {150, 100}},
                             {{123, 77}, {200, 33}}, {{33, 200}, {31, 57}}, {{640, 480}, {213, 160}}};

constexpr struct {
    LumoScalingMethod id;
    const char* name;
} kMethods[] = {{kLumoScalingNearestNeighbor, "nearest"},
                {kLumoScalingBiLinear, "bilinear"},
                {kLumoScalingBiCubic, "bicubic"},
                {kLumoScalingSuperSampling, "supersampling"}};

uint64_t Fnv1a(const std::vector<unsigned char>& bytes) {
    uint64_t hash = 14695981039346656037ull;
    for (const unsigned char b : bytes) hash = (hash ^ b) * 1099511628211ull;
    return hash;
}

/// Smooth ramps, flat blocks and noise side by side, from integer arithmetic
/// alone, so that the source is the same everywhere; odd row padding.
TestImage Source(tagLumoSize size, uint32_t channels, uint32_t bits) {
    TestImage im = TestImage::Make(size.width, size.height, channels, bits, 3 * bits / 8);
    uint32_t noise = 2463534242u;
    for (uint32_t y = 0; y < size.height; ++y)
        for (uint32_t x = 0; x < size.width; ++x)
            for (uint32_t c = 0; c < channels; ++c) {
                noise ^= noise << 13, noise ^= noise >> 17, noise ^= noise << 5;
                const uint32_t band = (x * 3 + y) / 23 % 3;
                const uint32_t v = band == 0   ? (x * 1021 + y * 509 + c * 8191) & 0xffff
                                   : band == 1 ? ((x / 6 + y / 5 + c) % 4) * 0x5555
                                               : noise >> 16;
                im.Set(x, y, c, bits == 8 ? v >> 8 : v);
            }
    return im;
}

/// "name" -> "result code, hash" for every case.
std::map<std::string, std::string> ComputeHashes() {
    std::map<std::string, std::string> out;
    for (const uint32_t bits : {8u, 16u})
        for (const uint32_t channels : {1u, 3u, 4u})
            for (const Shape& s : kShapes) {
                const TestImage source = Source(s.source, channels, bits);
                const tagLumoRect region{static_cast<int32_t>(s.source.width / 5),
                                         static_cast<int32_t>(s.source.height / 7), s.source.width / 2,
                                         s.source.height / 2};
                const auto record = [&](const std::string& what, auto&& resize) {
                    TestImage d = TestImage::Make(s.destination.width, s.destination.height, channels, bits,
                                                  5 * bits / 8);
                    const LumoResult code = resize(d);
                    std::ostringstream name, value;
                    name << what << ' ' << bits << "-bit " << channels << "ch " << s.source.width << 'x'
                         << s.source.height << "->" << s.destination.width << 'x' << s.destination.height;
                    value << code << ' ' << std::hex << Fnv1a(d.bytes);
                    out[name.str()] = value.str();
                };
                for (const auto& m : kMethods) {
                    record(std::string(m.name) + " whole", [&](TestImage& d) {
                        return LumoMathResize(m.id, channels, bits, source.Data(), s.source, source.rowBytes,
                                              d.Data(), d.Size(), d.rowBytes);
                    });
                    record(std::string(m.name) + " region", [&](TestImage& d) {
                        return LumoMathResizeWithRegion(m.id, channels, bits, source.Data(), s.source,
                                                        source.rowBytes, region, d.Data(), d.Size(), d.rowBytes);
                    });
                }
                record("halving-region", [&](TestImage& d) {
                    return ResizeWithRegion(kLumoScalingBiLinear, channels, bits, source.Data(), s.source,
                                            source.rowBytes, region, d.Data(), d.Size(), d.rowBytes);
                });
            }
    return out;
}

std::map<std::string, std::string> StoredHashes() {
    std::map<std::string, std::string> stored;
    std::ifstream in(LUMOMATH_OUTPUT_HASHES);
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#') continue;
        const size_t tab = line.find('\t');
        if (tab != std::string::npos) stored[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return stored;
}

class OutputHashes : public ::testing::TestWithParam<int64_t> {
protected:
    void SetUp() override {
        LUMO_RUN_ON_TARGET(GetParam());
        Set_ProcessorNum(2);  // bands that start mid-image
    }
    void TearDown() override {
        hwy::SetSupportedTargetsForTest(0);
        Set_ProcessorNum(0);
    }
};

TEST_P(OutputHashes, MatchTheStoredList) {
    const std::map<std::string, std::string> computed = ComputeHashes();
    const char* write = std::getenv("LUMOMATH_WRITE_OUTPUT_HASHES");
    if (write != nullptr && GetParam() == hwy::SupportedAndGeneratedTargets()[0]) {
        std::ofstream file(write);
        file << "# case\tresult code and FNV-1a 64 of the destination buffer, padding included\n";
        for (const auto& [name, value] : computed) file << name << '\t' << value << '\n';
    }
    const std::map<std::string, std::string> stored = StoredHashes();
    ASSERT_EQ(stored.size(), computed.size()) << "cases in " << LUMOMATH_OUTPUT_HASHES;
    int differing = 0;
    for (const auto& [name, value] : computed) {
        const auto it = stored.find(name);
        if (it != stored.end() && it->second == value) continue;
        ADD_FAILURE() << name << ": " << value << ", stored " << (it == stored.end() ? "nothing" : it->second);
        if (++differing == 10) break;
    }
}

INSTANTIATE_TEST_SUITE_P(Targets, OutputHashes, ::testing::ValuesIn(lumo::test::CompiledTargets()),
                         lumo::test::TargetName);

}  // namespace
