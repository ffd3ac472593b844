// LUMOMATH_TARGET: see kernel_choice.h.
#include "platform/kernel_choice.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/kernel_choice.cpp"
#include <hwy/foreach_target.h>  // IWYU pragma: keep
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lumo::platform {
namespace HWY_NAMESPACE {

// Dispatched like every vector kernel, it tells which target really runs.
int64_t RunningTarget() { return HWY_TARGET; }

}  // namespace HWY_NAMESPACE
}  // namespace lumo::platform
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <cstdlib>

#include "lumomath/LumoMath.h"

namespace lumo::platform {

HWY_EXPORT(RunningTarget);

namespace {

constexpr const char* kVariable = "LUMOMATH_TARGET";

bool EqualIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
        if (lower(a[i]) != lower(b[i])) return false;
    }
    return true;
}

struct ProcessChoice {
    std::string value;
    KernelChoice choice;
};

const ProcessChoice& ReadOnce() {
    static const ProcessChoice process = [] {
        const char* set = std::getenv(kVariable);
        ProcessChoice p{set != nullptr ? set : "", {}};
        p.choice = ReadKernelChoice(p.value);
        return p;
    }();
    return process;
}

/// At most 24 printable characters of what the variable held.
std::string Shown(std::string_view value) {
    constexpr size_t kShown = 24;
    std::string s;
    for (const char c : value.substr(0, kShown)) s += c >= ' ' && c <= '~' ? c : '?';
    if (value.size() > kShown) s += "...";
    return s;
}

}  // namespace

KernelChoice ParseKernelChoice(std::string_view value, int64_t compiled, int64_t supported) {
    if (value.empty()) return {};
    if (EqualIgnoringCase(value, "plain")) return {KernelChoiceKind::kPlain, 0};
    // Bit 63 is the sign and names no target.
    for (int bit = 0; bit < 63; ++bit) {
        const int64_t target = int64_t{1} << bit;
        const std::string_view name = hwy::TargetName(target);
        // Highway answers "Unknown" for the bits of other architectures.
        if (name == "Unknown" || !EqualIgnoringCase(value, name)) continue;
        if ((compiled & target) == 0) return {KernelChoiceKind::kNotBuiltIn, target};
        if ((supported & target) == 0) return {KernelChoiceKind::kUnsupported, target};
        return {KernelChoiceKind::kTarget, target};
    }
    return {KernelChoiceKind::kUnknown, 0};
}

KernelChoice ReadKernelChoice(std::string_view value) {
    // Names are matched before the processor is asked, which an ordinary run
    // then never does: in Highway 1.0.3 hwy::SupportedTargets() also stores its
    // answer as Highway's chosen target, without the mask of a host's
    // hwy::DisableTargets. The first entry of a dispatch table is Highway's own
    // first-call set-up, which stores the masked answer again: the state
    // Highway would have reached by itself.
    KernelChoice choice = ParseKernelChoice(value, HWY_TARGETS, HWY_TARGETS);
    if (choice.kind == KernelChoiceKind::kTarget) {
        choice = ParseKernelChoice(value, HWY_TARGETS, hwy::SupportedTargets());
#if !HWY_IDE && (HWY_TARGETS & (HWY_TARGETS - 1)) != 0
        HWY_DISPATCH_TABLE(RunningTarget)[0]();
#endif
    }
    return choice;
}

const KernelChoice& ProcessKernelChoice() { return ReadOnce().choice; }

bool ForcePlainKernels() { return ProcessKernelChoice().kind == KernelChoiceKind::kPlain; }

bool ChooseForced(const KernelChoice& choice, hwy::ChosenTarget& chosen) {
    switch (choice.kind) {
        case KernelChoiceKind::kPlain:
            // No target bit: the fallback entry, which every table has.
            chosen.Update(0);
            return true;
        case KernelChoiceKind::kTarget:
            // Code compiled without this target (not the library's, whose files
            // all compile the same targets) falls back to the plainest.
            chosen.Update(choice.target);
            return true;
        default:
            return false;
    }
}

const hwy::ChosenTarget& DispatchTarget() {
    struct Forced {
        hwy::ChosenTarget chosen;
        bool active = ChooseForced(ProcessKernelChoice(), chosen);
    };
    static const Forced forced;
    return forced.active ? forced.chosen : hwy::GetChosenTarget();
}

std::string DescribeKernelChoice(const KernelChoice& choice, std::string_view value, int64_t running) {
    const std::string name = hwy::TargetName(running);
    const std::string ignored = name + " (" + kVariable + "=" + Shown(value) + " ignored: ";
    switch (choice.kind) {
        case KernelChoiceKind::kAutomatic: return name;
        case KernelChoiceKind::kPlain:
            return "plain kernels, other vector code on " + name + " (forced by " + kVariable + ")";
        case KernelChoiceKind::kTarget: return name + " (forced by " + kVariable + ")";
        case KernelChoiceKind::kUnknown: return ignored + "no such target)";
        case KernelChoiceKind::kNotBuiltIn: return ignored + "not built in)";
        case KernelChoiceKind::kUnsupported: return ignored + "this processor lacks it)";
    }
    return name;
}

namespace {

const char* KernelTargetDescription() {
    static const std::string description = DescribeKernelChoice(ReadOnce().choice, ReadOnce().value,
                                                                LUMO_DYNAMIC_DISPATCH(RunningTarget)());
    return description.c_str();
}

}  // namespace
}  // namespace lumo::platform

extern "C" LUMO_API const char* LumoMathKernelTarget(void) {
    try {
        return lumo::platform::KernelTargetDescription();
    } catch (...) {
        // No memory for the text: the next call tries again.
        return "unknown";
    }
}
#endif  // HWY_ONCE
