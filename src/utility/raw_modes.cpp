// Reduced-size raw development modes and the process-mode predicates.
//
// A reduced mode scales by r/256. All conversions are unsigned 32-bit and wrap
// as the host's do; a rectangle's origin is scaled as an unsigned value too.
#include <cstdint>

#include "lumomath/LumoUtility.h"

namespace {

bool IsFastSequence(LumoProcessSequenceType sequence) {
    return sequence == 3 || sequence == 10 || sequence == 11 || sequence == 12;
}

uint32_t ScaleDown(LumoRawImageResizeMode mode, uint32_t value) {
    return (__getRawImageResizeRatio(mode) * value) >> 8;
}

int32_t ScaleDownSigned(LumoRawImageResizeMode mode, int32_t value) {
    return static_cast<int32_t>(ScaleDown(mode, static_cast<uint32_t>(value)));
}

}  // namespace

bool __isIsRawFile(LumoImageType type) {
    return type == 2 || type == 4 || type == 6 || type == 7 || type == 8;
}

bool __isFastProcess(LumoProcessSequenceType sequence) { return IsFastSequence(sequence); }
bool __isFastHalfProcess(LumoProcessSequenceType sequence) { return sequence == 11 || sequence == 12; }
bool __isFastNormalProcess(LumoProcessSequenceType sequence) { return sequence == 3 || sequence == 12; }
bool __isFastPrintProcess(LumoProcessSequenceType sequence) { return sequence == 10 || sequence == 11; }

bool __isFast1stProcess(LumoProcessSequenceType sequence, LumoImageProcessLevel level) {
    return IsFastSequence(sequence) && level == kLumoImageProcessLevelFirst;
}

bool __isFastAfterProcess(LumoProcessSequenceType sequence, LumoImageProcessLevel level) {
    return IsFastSequence(sequence) && level != kLumoImageProcessLevelFirst;
}

uint32_t __getRawImageResizeRatio(LumoRawImageResizeMode mode) {
    switch (mode) {
        case kLumoRawImageResize13of16: return 208;
        case kLumoRawImageResizeHalf: return 128;
        default: return 256;
    }
}

double __getRawImageResizePercent(LumoRawImageResizeMode mode) {
    // A fraction of the full size, whatever the name says: callers multiply by it.
    return __getRawImageResizeRatio(mode) * 0.00390625;
}

uint32_t __convValueFull2Resize(LumoRawImageResizeMode mode, uint32_t value) { return ScaleDown(mode, value); }

uint32_t __convValueResize2Full(LumoRawImageResizeMode mode, uint32_t value) {
    const uint32_t r = __getRawImageResizeRatio(mode);
    const uint32_t q = ((value << 8) + r - 1) / r;
    // Full-size coordinates stay on even pixels (whole Bayer quads).
    return q + (q & 1u);
}

tagLumoSize __getRawImageResizeSize(tagLumoSize size, LumoRawImageResizeMode mode) {
    return tagLumoSize{ScaleDown(mode, size.width), ScaleDown(mode, size.height)};
}

tagLumoRect __getRawImageResizeRect(tagLumoRect rect, LumoRawImageResizeMode mode) {
    return tagLumoRect{ScaleDownSigned(mode, rect.x), ScaleDownSigned(mode, rect.y), ScaleDown(mode, rect.width),
                       ScaleDown(mode, rect.height)};
}

double __getDoubleValueFromProcessRatio(LumoProcessRatio ratio) {
    switch (ratio) {
        case kLumoProcessRatioHalf: return 0.5;
        case kLumoProcessRatioQuarter: return 0.25;
        case kLumoProcessRatioEighth: return 0.125;
        default: return 1.0;
    }
}

bool __isNeedHDRProcess(LumoHDRProcessMode mode) { return mode != kLumoHDRProcessNone; }

tagLumoPoint __calcGrShiftOffset(uint32_t pattern) {
    switch (pattern) {
        case 1: return tagLumoPoint{1, 0};
        case 3: return tagLumoPoint{1, 1};
        case 4: return tagLumoPoint{0, 1};
        default: return tagLumoPoint{0, 0};
    }
}

LumoDistortionEffect __convertProjTypeToDistEffect(LumoProjectionType type) {
    if (type >= kLumoProjectionTypeFirst && type <= kLumoProjectionTypeLast)
        return static_cast<LumoDistortionEffect>(type);
    return kLumoDistortionEffectNone;
}

LumoProjectionType __convertDistEffectToProjType(LumoDistortionEffect effect) {
    if (effect >= kLumoDistortionEffectFirst && effect <= kLumoDistortionEffectLast)
        return static_cast<LumoProjectionType>(effect);
    return kLumoProjectionTypeNone;
}

bool __isAtCaptureDistortionEffect(uint32_t lensID, LumoDistortionEffect effect) {
    if (effect == kLumoDistortionEffectAsCaptured) return true;
    const int32_t asProjection = effect >= 6 ? -1 : effect;
    return asProjection == __getFisheyeProjectionType(lensID);
}
