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
        uint32_t channels, bytes, taps, sourceWidth, width;
        const char* says;
    };
    static constexpr Case kCases[] = {
        {3, 1, 2, 64, 32, "halving in byte shuffles of 15 samples"},
        {4, 1, 2, 4, 40, "float lanes (checked) from column 2:"},
        {4, 1, 2, 60, 15, "double lanes [0, 15)"},  // reducing by 4: memory-bound, no float lanes
        {3, 2, 4, 20, 50, "double lanes [0, 44), plain [44, 50)"},  // a 4-sample load stays in the row
    };
    for (const Case& c : kCases) {
        const uint32_t height = c.width;
        std::vector<uint32_t> columnTaps(c.taps * c.width), rowTaps(c.taps * height);
        std::vector<double> columnWeights(c.taps * c.width), rowWeights(c.taps * height);
        const lumo::TapTableBuilder build = c.taps == 2 ? lumo::BuildLinearTaps : lumo::BuildCubicTaps;
        build(c.width, c.sourceWidth, columnTaps.data(), columnWeights.data());
        build(height, c.sourceWidth, rowTaps.data(), rowWeights.data());
        const lumo::SeparableJob job{c.channels, c.taps, nullptr, c.sourceWidth, 0, nullptr, 0, c.width, height,
                                     columnTaps.data(), columnWeights.data(), rowTaps.data(), rowWeights.data()};
        const std::string text = lumo::DescribeRowPlan(lumo::PlanSeparable(job, c.bytes, 2));
        EXPECT_NE(text.find(c.says), std::string::npos) << text;
    }
}

}  // namespace
