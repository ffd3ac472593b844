// Which kernels run: the best vector target this processor has, as Highway
// chooses it, or what LUMOMATH_TARGET forces for triage in the field (a
// suspected miscompiled or misbehaving target can be ruled in or out without
// a rebuild).
//
// Forcing never touches Highway's process-wide state: a host may use Highway
// itself, and its choice must stay its own. LUMO_DYNAMIC_DISPATCH indexes the
// dispatch table with a private hwy::ChosenTarget when a target is forced and
// with Highway's own otherwise, so it behaves exactly as HWY_DYNAMIC_DISPATCH
// (also under a test's hwy::SetSupportedTargetsForTest) unless forced.
#pragma once

#include <hwy/targets.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace lumo::platform {

/// What a value of LUMOMATH_TARGET asks for.
enum class KernelChoiceKind {
    kAutomatic,    // unset or empty
    kPlain,        // "plain": the plain resize kernels
    kTarget,       // a target that is compiled in and that this processor runs
    kUnknown,      // ignored: names no target of this architecture
    kNotBuiltIn,   // ignored: a target this build has no code for
    kUnsupported,  // ignored: compiled in, but this processor lacks it
};

struct KernelChoice {
    KernelChoiceKind kind = KernelChoiceKind::kAutomatic;
    int64_t target = 0;  // the target's bit for kTarget, kNotBuiltIn and kUnsupported
};

/// Reads `value` (case-insensitive): "plain" or a target name as
/// hwy::TargetName spells it, checked against the `compiled` and the
/// `supported` targets (bit sets as HWY_TARGETS).
KernelChoice ParseKernelChoice(std::string_view value, int64_t compiled, int64_t supported);

/// What `value` asks for on this processor; leaves Highway's own choice as
/// Highway would have it.
KernelChoice ReadKernelChoice(std::string_view value);

/// LUMOMATH_TARGET as this process found it, read on the first call.
const KernelChoice& ProcessKernelChoice();

/// Whether the resizes run their plain reference kernels (LUMOMATH_TARGET=plain).
bool ForcePlainKernels();

/// Makes `chosen` select what `choice` forces: its target, or for plain
/// kernels the fallback entry of every table, the plainest target compiled
/// in. Returns false, leaving `chosen` alone, when nothing is forced.
bool ChooseForced(const KernelChoice& choice, hwy::ChosenTarget& chosen);

/// The dispatch state of the library's vector code: the forced one, or else
/// Highway's own.
const hwy::ChosenTarget& DispatchTarget();

/// What runs, for people: the running target's name (as `running`, a
/// HWY_TARGET value, says), and what was forced or ignored.
std::string DescribeKernelChoice(const KernelChoice& choice, std::string_view value, int64_t running);

}  // namespace lumo::platform

/// The function FUNC_NAME (exported with HWY_EXPORT) of the target that
/// `chosen` (a hwy::ChosenTarget) selects. GetIndex is expanded here, in the
/// calling file, because the index depends on the targets that file compiled.
#if HWY_IDE || ((HWY_TARGETS & (HWY_TARGETS - 1)) == 0)
// One target compiled in: there is nothing to choose, and the table has one entry.
#define LUMO_DISPATCH_WITH(chosen, FUNC_NAME) HWY_DYNAMIC_DISPATCH(FUNC_NAME)
#else
#define LUMO_DISPATCH_WITH(chosen, FUNC_NAME) (*(HWY_DISPATCH_TABLE(FUNC_NAME)[(chosen).GetIndex()]))
#endif

/// HWY_DYNAMIC_DISPATCH(FUNC_NAME), unless LUMOMATH_TARGET forces a choice.
#define LUMO_DYNAMIC_DISPATCH(FUNC_NAME) LUMO_DISPATCH_WITH(::lumo::platform::DispatchTarget(), FUNC_NAME)
