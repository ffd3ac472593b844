// Parsing of the tool's sizes, regions, methods and options.
#include "arguments.h"

#include <gtest/gtest.h>

#include "image.h"

namespace lumotool {
namespace {

struct SizeCase {
    const char* text;
    tagLumoSize from;
    tagLumoSize want;  // {0, 0}: rejected
};

TEST(ToolArguments, Sizes) {
    const SizeCase cases[] = {
        {"320x240", {640, 480}, {320, 240}},
        {"1920x", {640, 480}, {1920, 1440}},   // height in proportion
        {"x240", {640, 480}, {320, 240}},      // width in proportion
        {"100x", {300, 200}, {100, 67}},       // 66.67 rounds to nearest
        {"7X5", {10, 10}, {7, 5}},             // either case of x
        {"50%", {641, 481}, {321, 241}},       // halves round to nearest
        {"12.5%", {800, 80}, {100, 10}},
        {"200%", {3, 2}, {6, 4}},
        {"1x", {1000, 1}, {0, 0}},             // height rounds to zero
        {"1%", {40, 30}, {0, 0}},              // both sides round to zero
        {"0x10", {10, 10}, {0, 0}},
        {"10x0", {10, 10}, {0, 0}},
        {"x", {10, 10}, {0, 0}},
        {"10", {10, 10}, {0, 0}},
        {"-5x5", {10, 10}, {0, 0}},
        {"5x5x5", {10, 10}, {0, 0}},
        {"0%", {10, 10}, {0, 0}},
        {"-50%", {10, 10}, {0, 0}},
        {"%", {10, 10}, {0, 0}},
        {"abc%", {10, 10}, {0, 0}},
        {"3000000000x1", {10, 10}, {0, 0}},    // beyond a signed 32-bit side
        {"99999999999999999999x1", {10, 10}, {0, 0}},
    };
    for (const SizeCase& c : cases) {
        SCOPED_TRACE(c.text);
        if (c.want.width == 0) {
            EXPECT_THROW(ParseSize(c.text, c.from), ToolError);
            continue;
        }
        const tagLumoSize got = ParseSize(c.text, c.from);
        EXPECT_EQ(got.width, c.want.width);
        EXPECT_EQ(got.height, c.want.height);
    }
}

TEST(ToolArguments, Regions) {
    const tagLumoSize image{100, 50};
    const tagLumoRect ok = ParseRegion("10,20,90,30", image);  // touches the right and bottom edges
    EXPECT_EQ(ok.x, 10);
    EXPECT_EQ(ok.y, 20);
    EXPECT_EQ(ok.width, 90u);
    EXPECT_EQ(ok.height, 30u);
    for (const char* bad : {"10,20,91,30", "10,21,90,30", "0,0,0,5", "0,0,5,0", "-1,0,5,5", "1,2,3", "1,2,3,4,5",
                            "1,,3,4", "a,b,c,d", "", "4294967295,0,2,2"}) {
        SCOPED_TRACE(bad);
        EXPECT_THROW(ParseRegion(bad, image), ToolError);
    }
}

TEST(ToolArguments, MethodsAndDefaults) {
    for (LumoScalingMethod m : {kLumoScalingNearestNeighbor, kLumoScalingBiLinear, kLumoScalingBiCubic,
                                kLumoScalingSuperSampling})
        EXPECT_EQ(ParseMethod(MethodName(m)), m);
    EXPECT_THROW(ParseMethod("Bicubic"), ToolError);
    EXPECT_THROW(ParseMethod("lanczos"), ToolError);

    struct {
        tagLumoSize from, to;
        LumoScalingMethod want;
    } const defaults[] = {
        {{100, 100}, {50, 50}, kLumoScalingSuperSampling},
        {{100, 100}, {100, 50}, kLumoScalingSuperSampling},  // one side shrinks, none grows
        {{100, 100}, {200, 200}, kLumoScalingBiCubic},
        {{100, 100}, {50, 200}, kLumoScalingBiCubic},        // one side grows
        {{100, 100}, {100, 100}, kLumoScalingBiCubic},
    };
    for (const auto& d : defaults) EXPECT_EQ(DefaultMethod(d.from, d.to), d.want) << d.to.width << "x" << d.to.height;
}

TEST(ToolArguments, ThreadCounts) {
    EXPECT_EQ(ParseThreads("1"), 1u);
    EXPECT_EQ(ParseThreads("64"), 64u);
    for (const char* bad : {"0", "65", "-1", "two", "", "3.5"}) EXPECT_THROW(ParseThreads(bad), ToolError) << bad;
}

TEST(ToolArguments, OptionsAndPositionals) {
    const Arguments a = ParseArguments({"in.png", "--size", "50%", "--method=nearest", "out.png", "--double", "--",
                                        "--literal"},
                                       {"--size", "--method"}, {"--double"});
    EXPECT_EQ(a.positional, (std::vector<std::string>{"in.png", "out.png", "--literal"}));
    EXPECT_EQ(*a.Value("--size"), "50%");
    EXPECT_EQ(*a.Value("--method"), "nearest");
    EXPECT_TRUE(a.Has("--double"));
    EXPECT_FALSE(a.help);
    EXPECT_TRUE(ParseArguments({"x", "-h"}, {}, {}).help);

    EXPECT_THROW(ParseArguments({"--size"}, {"--size"}, {}), UsageError);       // value missing
    EXPECT_THROW(ParseArguments({"--bogus"}, {"--size"}, {}), UsageError);
    EXPECT_THROW(ParseArguments({"--double=1"}, {}, {"--double"}), UsageError);  // flags take no value
}

}  // namespace
}  // namespace lumotool
