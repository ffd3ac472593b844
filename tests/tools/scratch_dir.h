// A fresh directory per test, removed afterwards, and images of random samples.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>

#include "image.h"

namespace lumotool {

class ScratchDir {
  public:
    ScratchDir() {
        std::string pattern = testing::TempDir() + "lumotool-XXXXXX";
        if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
        path_ = pattern;
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string operator/(const std::string& name) const { return (path_ / name).string(); }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_)) names.insert(entry.path().filename());
        return names;
    }

  private:
    std::filesystem::path path_;
};

inline Image RandomImage(uint32_t w, uint32_t h, uint32_t channels, uint32_t bits, uint32_t seed) {
    Image image = Image::Make(w, h, channels, bits);
    std::mt19937 rng(seed);
    const uint32_t top = bits == 8 ? 255 : 65535;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            for (uint32_t c = 0; c < channels; ++c) image.SetSample(x, y, c, static_cast<uint32_t>(rng() % (top + 1)));
    return image;
}

inline void ExpectSameImage(const Image& got, const Image& want) {
    ASSERT_EQ(got.width, want.width);
    ASSERT_EQ(got.height, want.height);
    ASSERT_EQ(got.channels, want.channels);
    ASSERT_EQ(got.bits, want.bits);
    EXPECT_TRUE(got.data == want.data) << "samples differ";
}

}  // namespace lumotool
