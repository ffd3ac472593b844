// Tone and gamma helpers: raw gamma levels, the packing of raw and RGB tone
// curves into the calculation record, bit-depth conversions, PQ transfer
// functions, the lens gain table expansion, knee gain and tone values.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "lumomath/LumoUtility.h"
#include "utility/camera_tables.h"
#include "utility/float_convert.h"

namespace {

// Scale from `bitDepth` bits to 12 bits.
double TwelveBitScale(double bitDepth) { return 4096.0 / std::exp2(bitDepth); }

// 2^bits - 1 formed as the complement of all-ones shifted left; the shift
// count is taken modulo 32 as the processor does, so 32 bits gives 0.
uint32_t LevelMaximum(double bitDepth) {
    const uint32_t bits = static_cast<uint32_t>(lumo::TruncToInt32(bitDepth)) & 31u;
    return ~(0xFFFFFFFFu << bits);
}

// A value of `bits` bits brought to `targetBits`. Widening maps the top of the
// source range to the top of the target range; narrowing is an arithmetic
// shift. Shifts are formed in 64 bits and a shift of 32 or more leaves only
// the sign, so that extreme arguments saturate instead of wrapping.
uint32_t ConvertBitDepth(uint32_t bits, int32_t value, uint32_t targetBits) {
    if (value == 0) return 0;
    int64_t r;
    if (bits <= targetBits) {
        r = (static_cast<int64_t>(value) + 1) * (int64_t{1} << (targetBits - bits)) - 1;
    } else {
        const uint32_t shift = std::min(bits - targetBits, 63u);
        r = static_cast<int64_t>(value) >> shift;
    }
    const int64_t maximum = (int64_t{1} << targetBits) - 1;
    return static_cast<uint32_t>(std::clamp<int64_t>(r, 0, maximum));
}

uint16_t To16(uint32_t v) { return static_cast<uint16_t>(v); }

// SMPTE ST 2084 constants.
constexpr double kPqM1 = 0.1593017578125;
constexpr double kPqM2 = 78.84375;
constexpr double kPqC1 = 0.8359375;
constexpr double kPqC2 = 18.8515625;
constexpr double kPqC3 = 18.6875;
constexpr double kPqInverseM1 = 6.277394636015326;
constexpr double kPqInverseM2 = 0.012683313515655966;

}  // namespace

void __initRawGammaInfo(tagLumoRawGammaInfo* info) {
    if (info == nullptr) return;
    *info = tagLumoRawGammaInfo{14.0, 0.0, 16383.0, 1200.0, 0.0, 16383.0};
}

void __get12bitValueWithRawGammaInfo(tagLumoRawGammaInfo& info, int32_t* outA, int32_t* outC, int32_t* outB,
                                     int32_t* outD, int32_t* outE) {
    if (outA == nullptr || outC == nullptr || outB == nullptr) return;
    const double s = TwelveBitScale(info.bitDepth);
    // The host passes the pointers in the order A, C, B; written in this
    // order so that aliased pointers end with the same value as the host's.
    *outA = lumo::TruncToInt32(info.levelA * s);
    *outB = lumo::TruncToInt32(info.levelB * s);
    *outC = lumo::TruncToInt32(info.levelC * s);
    if (outD != nullptr) *outD = lumo::TruncToInt32(info.levelD * s);
    if (outE != nullptr) *outE = lumo::TruncToInt32(info.levelE * s);
}

bool __isNeedKokidokakutyou(const tagLumoRawGammaInfo& info) {
    return lumo::TruncToInt32(TwelveBitScale(info.bitDepth) * info.levelB) >= 4096;
}

void __setupRawGammaInfoForCalculate(const tagLumoRawGammaInfo* info, const gnzLumoGamma* gamma,
                                     double parameter1, double parameter2, int32_t parameter3,
                                     LumoHDRProcessMode hdrMode, LumoOstraLogType logType,
                                     LumoGammaInfoForCalculate* out) {
    if (info == nullptr || gamma == nullptr || out == nullptr) return;
    std::memset(out, 0, sizeof(*out));
    out->logType = logType;
    out->hdrMode = hdrMode;
    out->parameter3 = parameter3;
    out->parameter1 = parameter1;
    out->parameter2 = parameter2;

    const double maximum = LevelMaximum(info->bitDepth);
    out->levelA = info->levelA / maximum;
    out->levelB = info->levelB / maximum;
    out->levelD = info->levelD / maximum;
    out->levelE = info->levelE / maximum;
    out->levelC = info->levelC / maximum;

    out->curve = *gamma;
    // The curve's third level is re-expressed against the normalised levels
    // E and D, in the curve's third and fourth level slots.
    const double third = gamma->levels[2];
    out->curve.levels[2] = static_cast<uint16_t>(lumo::TruncToInt32(third * out->levelE));
    out->curve.levels[3] = static_cast<uint16_t>(lumo::TruncToInt32(third * out->levelD));
}

bool __setupRGBGammaInfoForCalculate(LumoToneCurveLineType lineType, tagLumoGammaPoint* points,
                                     LumoGammaInfoForCalculate* out) {
    // A negative count is rejected like an empty one.
    if (points == nullptr || out == nullptr || points->pointCount <= 0 || points->bitDepth == 0) return false;
    std::memset(out, 0, sizeof(*out));
    // The curve holds at most 10 points; the caller's record is cut down too,
    // so that it describes what was packed.
    if (points->pointCount >= 11) points->pointCount = 10;
    const int32_t count = points->pointCount;
    const auto bits = static_cast<uint32_t>(points->bitDepth);

    out->lineType = lineType;
    out->isRGBCurve = 1;
    out->reserved6 = 0;
    gnzLumoGamma& curve = out->curve;
    curve.head10 = 10;
    curve.head9 = 9;
    curve.pointCount = static_cast<uint16_t>(count);
    // The levels go crosswise: pairs (2, 1) and (4, 3).
    curve.levels[0] = To16(__get16bitValue(bits, points->level2));
    curve.levels[1] = To16(__get16bitValue(bits, points->level1));
    curve.levels[2] = To16(__get16bitValue(bits, points->level4));
    curve.levels[3] = To16(__get16bitValue(bits, points->level3));
    for (int32_t i = 0; i < count; ++i) {
        curve.x[i] = To16(__get16bitValue(bits, points->points[i].x));
        curve.y[i] = To16(__get16bitValue(bits, points->points[i].y));
    }
    return true;
}

uint32_t __get12bitValue(uint32_t bits, int32_t value) { return ConvertBitDepth(bits, value, 12); }
uint32_t __get14bitValue(uint32_t bits, int32_t value) { return ConvertBitDepth(bits, value, 14); }
uint32_t __get16bitValue(uint32_t bits, int32_t value) { return ConvertBitDepth(bits, value, 16); }

double __calcPQ_EOTF(int32_t code) {
    double v = std::clamp(code, 0, 65535) / 65535.0;
    if (v <= 0.0) return 0.0;
    if (v > 1.0) v = 1.0;
    const double p = std::pow(v, kPqInverseM2);
    const double y = std::pow((p - kPqC1) / (kPqC2 - kPqC3 * p), kPqInverseM1) * 10000.0;
    return std::min(y, 10000.0);
}

double __calcPQ_OETF(int32_t value) {
    const double v = std::clamp(value, 0, 80000) / 80000.0;
    const double q = std::pow(v, kPqM1);
    return std::pow((kPqC1 + kPqC2 * q) / (1.0 + kPqC3 * q), kPqM2);
}

int32_t __calcVremGainTable_10to33(double* gains10, double radiusScale, tagLumoParseImageInfo info,
                                   double centreX, double centreY, uint32_t pitch, double* gains33) {
    if (gains10 == nullptr || gains33 == nullptr) return 0;
    const double w = info.width;
    const double h = info.height;
    // Distance from the centre to the farthest edge in each axis.
    const double dx = std::fabs(centreX) < std::fabs(centreX - w) ? centreX - w : centreX;
    const double dy = std::fabs(centreY) < std::fabs(centreY - h) ? centreY - h : centreY;
    const double r = std::sqrt(dx * dx + dy * dy);
    const double radius = pitch / 1000.0 / 1000.0 * r;
    const double radiusSquared = radius * radius;
    for (int i = 0; i <= 32; ++i) {
        double x = std::sqrt(i * radiusSquared * 0.03125) / radiusScale * 9.0;
        // Written so that a NaN position (zero radius over zero scale) reads entry 0.
        x = x > 0.0 ? (x < 9.0 ? x : 9.0) : 0.0;
        const double lo = std::floor(x);
        const double hi = std::ceil(x);
        const auto loIndex = static_cast<int>(lo);
        const auto hiIndex = static_cast<int>(hi);
        const double g = loIndex == hiIndex ? gains10[loIndex]
                                            : gains10[loIndex] * (hi - x) + gains10[hiIndex] * (x - lo);
        // No gain below unity.
        gains33[i] = std::max(g * 1024.0, 1024.0);
    }
    return 0;
}

bool cKneeGain(int32_t mode, uint16_t cameraID) {
    const uint32_t model = lumo::ModelIDForCamera(cameraID);
    if (cameraID > 99 || __isWpEngineModel(model)) return true;
    if (mode == 1 || cameraID < 53) return false;
    return !__isKiteMLModel(model);
}

uint32_t calcTValue(int32_t* value, double t, int32_t level, uint32_t kind, int32_t flag) {
    if (value != nullptr) *value = lumo::TruncToInt32(*value * t);
    double d = 1.0 - t;
    const bool low = level <= 100;
    if (kind == 1) {
        d = -d * (low ? 0.04 : 0.02);
    } else if (flag != 0) {
        d = d * (low ? 0.005 : 0.03);
    } else {
        d = d * (low ? 0.005 : 0.04);
    }
    return lumo::TruncToUInt32(1024.0 / (d + t) + 0.5);
}
