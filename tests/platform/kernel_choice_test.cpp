// LUMOMATH_TARGET: what each value asks for, and that a forced choice runs
// the code of the target it names without touching Highway's own choice.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/kernel_choice_test.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

#include "platform/kernel_choice.h"

HWY_BEFORE_NAMESPACE();
namespace lumo_test {
namespace HWY_NAMESPACE {
int64_t Probe() { return HWY_TARGET; }
}  // namespace HWY_NAMESPACE
}  // namespace lumo_test
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <vector>

namespace lumo_test {
HWY_EXPORT(Probe);

namespace {

using lumo::platform::ChooseForced;
using lumo::platform::DescribeKernelChoice;
using lumo::platform::KernelChoice;
using lumo::platform::KernelChoiceKind;
using lumo::platform::ParseKernelChoice;
using Kind = KernelChoiceKind;

std::string MixedCase(std::string s) {
    for (size_t i = 0; i < s.size(); i += 2) s[i] = static_cast<char>(std::tolower(s[i]));
    return s;
}

TEST(KernelChoice, ReadsEachValue) {
    constexpr int64_t kCompiled = HWY_TARGETS;
    struct Case {
        std::string value;
        int64_t supported;
        Kind kind;
        int64_t target;
    };
    std::vector<Case> cases = {
        {"", kCompiled, Kind::kAutomatic, 0},
        {"plain", kCompiled, Kind::kPlain, 0},
        {"PlAiN", kCompiled, Kind::kPlain, 0},
        {"bogus", kCompiled, Kind::kUnknown, 0},
        {"plain ", kCompiled, Kind::kUnknown, 0},
        {"unknown", kCompiled, Kind::kUnknown, 0},  // Highway's name for the bits of no target
        {HWY_ARCH_X86 ? "neon" : "avx2", kCompiled, Kind::kUnknown, 0},
    };
    for (int bit = 0; bit < 63; ++bit) {
        const int64_t t = int64_t{1} << bit;
        const std::string name = hwy::TargetName(t);
        if (name == "Unknown") continue;
        if ((kCompiled & t) == 0) {
            cases.push_back({name, ~int64_t{0}, Kind::kNotBuiltIn, t});  // SCALAR or EMU128 at least
        } else {
            cases.push_back({MixedCase(name), kCompiled, Kind::kTarget, t});
            cases.push_back({MixedCase(name), kCompiled & ~t, Kind::kUnsupported, t});
        }
    }
    for (const Case& c : cases) {
        const KernelChoice choice = ParseKernelChoice(c.value, kCompiled, c.supported);
        EXPECT_EQ(choice.kind, c.kind) << '"' << c.value << '"';
        EXPECT_EQ(choice.target, c.target) << '"' << c.value << '"';
    }
}

TEST(KernelChoice, DescribesWhatRunsAndWhatWasIgnored) {
    const int64_t t = hwy::SupportedAndGeneratedTargets().front();
    const std::string name = hwy::TargetName(t);
    struct Case {
        KernelChoice choice;
        std::string value, text;
    };
    const Case cases[] = {
        {{Kind::kAutomatic, 0}, "", name},
        {{Kind::kTarget, t}, "x", name + " (forced by LUMOMATH_TARGET)"},
        {{Kind::kPlain, 0}, "plain", "plain kernels, other vector code on " + name + " (forced by LUMOMATH_TARGET)"},
        {{Kind::kUnknown, 0}, "a\tb", name + " (LUMOMATH_TARGET=a?b ignored: no such target)"},
        {{Kind::kNotBuiltIn, 0}, std::string(30, 'z'), name + " (LUMOMATH_TARGET=" + std::string(24, 'z') +
                                                           "... ignored: not built in)"},
        {{Kind::kUnsupported, 0}, "sve", name + " (LUMOMATH_TARGET=sve ignored: this processor lacks it)"},
    };
    for (const Case& c : cases) EXPECT_EQ(DescribeKernelChoice(c.choice, c.value, t), c.text);
}

TEST(KernelChoice, ForcingRunsTheNamedTargetAndLeavesHighwaysChoiceAlone) {
    const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
    const int64_t supported = hwy::SupportedTargets();
    for (const int64_t t : targets) {
        // Uninitialised: any use of Highway's own choice would initialise it.
        hwy::SetSupportedTargetsForTest(0);
        hwy::ChosenTarget chosen;
        ASSERT_TRUE(ChooseForced(ParseKernelChoice(hwy::TargetName(t), HWY_TARGETS, supported), chosen));
        EXPECT_EQ(LUMO_DISPATCH_WITH(chosen, Probe)(), t) << hwy::TargetName(t);
        EXPECT_FALSE(hwy::GetChosenTarget().IsInitialized());
    }
    // Plain kernels leave the rest to the plainest target compiled in.
    hwy::ChosenTarget chosen;
    ASSERT_TRUE(ChooseForced({Kind::kPlain, 0}, chosen));
    EXPECT_EQ(LUMO_DISPATCH_WITH(chosen, Probe)(), targets.back());
    EXPECT_FALSE(ChooseForced({Kind::kUnknown, 0}, chosen));
}

TEST(KernelChoice, AskingTheProcessorKeepsAHostsDisabledTargets) {
    const std::vector<int64_t> targets = hwy::SupportedAndGeneratedTargets();
    if (targets.size() < 2) GTEST_SKIP() << "one target";
    hwy::DisableTargets(targets.front());
    EXPECT_EQ(HWY_DYNAMIC_DISPATCH(Probe)(), targets[1]);
    EXPECT_EQ(lumo::platform::ReadKernelChoice(hwy::TargetName(targets.back())).kind, Kind::kTarget);
    EXPECT_EQ(HWY_DYNAMIC_DISPATCH(Probe)(), targets[1]);
    hwy::DisableTargets(0);
}

TEST(KernelChoice, UnforcedDispatchFollowsHighway) {
    if (lumo::platform::ProcessKernelChoice().kind != Kind::kAutomatic) GTEST_SKIP() << "LUMOMATH_TARGET is set";
    for (const int64_t t : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(t);
        EXPECT_EQ(LUMO_DYNAMIC_DISPATCH(Probe)(), t) << hwy::TargetName(t);
    }
    hwy::SetSupportedTargetsForTest(0);
}

}  // namespace
}  // namespace lumo_test
#endif  // HWY_ONCE
