// Tests per vector target: every target the library's vector code is compiled
// for has its named test on every processor, so that the list of tests is the
// same wherever it is made (an emulator's processor is picked when the tests
// run, not when they are listed); where this processor lacks the target the
// test is skipped and says so.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <hwy/targets.h>

namespace lumo::test {

/// The compiled targets, best first (a lower bit is a better target).
inline std::vector<int64_t> CompiledTargets() {
    std::vector<int64_t> targets;
    for (int64_t rest = HWY_TARGETS; rest != 0; rest &= rest - 1) targets.push_back(rest & -rest);
    return targets;
}

inline std::string TargetName(const ::testing::TestParamInfo<int64_t>& info) { return hwy::TargetName(info.param); }

}  // namespace lumo::test

/// Skips the test unless this processor runs `target`, and otherwise makes
/// Highway's dispatch choose it.
#define LUMO_RUN_ON_TARGET(target)                                                                   \
    do {                                                                                             \
        if ((hwy::SupportedTargets() & (target)) == 0)                                               \
            GTEST_SKIP() << hwy::TargetName(target) << ": this processor does not run the target"; \
        hwy::SetSupportedTargetsForTest(target);                                                     \
    } while (false)
