// What the printed plan of a few telling calls says: the row strategy each
// kind of image takes, and where float lanes start.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "resize/bicubic.h"
#include "resize/bilinear.h"
#include "resize/separable_resize.h"

namespace {

TEST(RowPlan, DescribesTheStrategyOfTheCall) {
    struct Case {
        uint32_t channels, bytes, taps, sourceSide, side;  // square images
        const char* says;
    };
    static constexpr Case kCases[] = {
        {3, 1, 2, 64, 32, "halving in byte shuffles of 15 samples"},
        {4, 1, 2, 4, 40, "float lanes (checked) from column 2:"},
        {4, 1, 2, 60, 15, "double lanes [0, 15)"},  // reducing by 4: memory-bound, no float lanes
        {3, 2, 4, 20, 50, "double lanes [0, 44), plain [44, 50)"},  // a 4-sample load stays in the row
    };
    for (const Case& c : kCases) {
        const uint32_t sourceRow = c.sourceSide * c.channels * c.bytes, row = c.side * c.channels * c.bytes;
        std::vector<unsigned char> source(size_t{sourceRow} * c.sourceSide), destination(size_t{row} * c.side);
        const lumo::ResizeRequest request{c.channels,
                                          c.bytes,
                                          {source.data(), {c.sourceSide, c.sourceSide}, sourceRow},
                                          lumo::WholeImage({c.sourceSide, c.sourceSide}),
                                          {destination.data(), {c.side, c.side}, row}};
        const std::string text = lumo::DescribeInterpolatingResize(
            request, c.taps, c.taps == 2 ? lumo::BuildLinearTaps : lumo::BuildCubicTaps);
        EXPECT_NE(text.find(c.says), std::string::npos) << text;
    }
}

}  // namespace
