// Bilinear passes that halve exactly, in integers.
//
// When a two-tap sum has the weights 0.5 and 0.5, both products s * 0.5 and
// their sum are exact in double (8-bit samples, halves of integers below
// 2^9), so the value is (s0 + s1) / 2 exactly: never negative, never above
// 255, and its truncation is (s0 + s1) >> 1, a byte average that rounds down.
// An exact 2x reduction has these weights everywhere along an axis, with
// column x reading input pixels 2x and 2x + 1, so its row pass needs no
// floating point at all: every output sample averages two samples `channels`
// apart, and the pairs of a row are picked out of two 16-byte loads by byte
// shuffles.
#pragma once

#include <cstddef>
#include <cstdint>

namespace lumo {

/// Whether the two-tap weights are 0.5 and 0.5, which make the byte the
/// rounded-down mean of the two samples.
inline bool HalvesPair(const double* weights) { return weights[0] == 0.5 && weights[1] == 0.5; }

/// Whether every destination column x of a two-tap table reads input pixels
/// 2x and 2x + 1 with the weights 0.5 and 0.5.
inline bool HalvesEveryColumn(uint32_t width, const uint32_t* taps, const double* weights) {
    for (uint32_t x = 0; x < width; ++x) {
        const size_t at = static_cast<size_t>(x) * 2;
        if (taps[at] != 2 * x || taps[at + 1] != 2 * x + 1 || !HalvesPair(weights + at)) return false;
    }
    return width != 0;
}

/// Output samples per step of the shuffling row pass: the whole pixels that
/// fit in 16 bytes (their inputs, twice as many bytes, fit in two loads),
/// or 0 for pixels wider than that.
inline uint32_t HalvingStep(uint32_t channels) {
    return channels == 0 || channels > 16 ? 0 : channels * (16 / channels);
}

/// Shuffle lanes of the halving row pass for `channels` (HalvingStep not 0):
/// lanes[0..15] and lanes[16..31] pick each output sample's first tap out of
/// the loads at input sample 0 and at 2 * step - 16 of the step, lanes[32..47]
/// and lanes[48..63] its second tap; 0x80 yields 0. Output samples past the
/// step are 0; the next step overwrites them.
inline void BuildHalvingLanes(uint32_t channels, uint8_t* lanes) {
    const uint32_t step = HalvingStep(channels);
    const uint32_t second = 2 * step - 16;  // where the second load starts
    for (uint32_t j = 0; j < 16; ++j) {
        for (uint32_t k = 0; k < 2; ++k) {
            uint8_t* fromFirst = lanes + 32 * k;
            uint8_t* fromSecond = fromFirst + 16;
            fromFirst[j] = 0x80;
            fromSecond[j] = 0x80;
            if (j >= step) continue;
            const uint32_t input = 2 * channels * (j / channels) + j % channels + k * channels;
            if (input < 16) {
                fromFirst[j] = static_cast<uint8_t>(input);
            } else {
                fromSecond[j] = static_cast<uint8_t>(input - second);
            }
        }
    }
}

}  // namespace lumo
