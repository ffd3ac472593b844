// LumoMath utility module — the C++ interface of the helpers shared with the
// host application: runtime services (aligned memory, integer arithmetic,
// thread-count limiting), and the geometry, tone, raw-mode and image-plane
// helpers. The helpers report no errors: a null out-pointer or a negative size
// makes them do nothing, and an unknown enumeration value gets a neutral answer.
//
// Needs C++11 or later. Threads: the helpers keep no state between calls and
// may run on any number of threads at once. They write only through their
// out-pointers and into the records and pointer lists passed to them, which
// the host must not share with another thread during the call; the tables
// they read (s_random_table, the model and lens tables) are constant. The
// memory helpers are as thread-safe as the system allocator. Not synchronised:
// __saveImage calls that write the same file name at the same time (the file's
// content is then undefined), and Set_ProcessorNum in LumoMath.h.
#ifndef LUMOMATH_LUMOUTILITY_H
#define LUMOMATH_LUMOUTILITY_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "lumomath/LumoMath.h"

// ---- Runtime services --------------------------------------------------------

/// Static helpers only; no data.
class LUMO_API CLumoRuntime {
public:
    /// A 64-byte-aligned block of `size` bytes, or null. The byte before the
    /// returned pointer holds its distance (1..64) from the system block's
    /// start. Release with LumoFree only. Sizes within 64 of 2^32 give null.
    static void* LumoMalloc(uint32_t size);
    /// As LumoMalloc, with the `size` bytes zeroed.
    static void* LumoCalloc(uint32_t size);
    /// Releases a block of LumoMalloc/LumoCalloc; null is ignored.
    static void LumoFree(void* p);
    /// Euclid with truncating remainders: the last non-zero divisor, sign
    /// included (LumoGCD(12, -18) == -6). LumoGCD(a, 0) is a.
    static int32_t LumoGCD(int32_t a, int32_t b);
    /// (a * b) / LumoGCD(a, b), the product wrapping in 32 bits; 0 when a or b is 0.
    static int32_t LumoLCM(int32_t a, int32_t b);
};

/// Releases every non-null LumoMalloc block of `list` and nulls its element; the length stays.
LUMO_API void __releaseLumoMallocPointerList(std::vector<void*>& list);

/// Releases `p` and removes its first occurrence from `list`; nothing when absent.
LUMO_API void __releaseLumoMallocPointer(std::vector<void*>& list, void* p);

/// Limits a thread count so that each thread gets at least 2 * margin + 1 of
/// `count`: min(max(count / max(2 * margin + 1, 1), 1), processNum).
LUMO_API int32_t __limitProcessNum(int32_t processNum, int32_t margin, int32_t count);

// ---- Enumerations -------------------------------------------------------------
// The host's enumerations travel as 32-bit values. Each has a fixed underlying
// type so that every value is representable; only the named values carry a
// meaning here, every other value gets the neutral answer of the helper.

/// How the host draws a tone curve; stored as is by the RGB gamma packing.
enum LumoToneCurveLineType : int32_t {};

/// HDR processing of a development; every value but 0 asks for it.
enum LumoHDRProcessMode : int32_t { kLumoHDRProcessNone = 0 };

/// The host's log encoding; stored as is by the raw gamma packing.
enum LumoOstraLogType : int32_t {};

/// The kind of input file; 2, 4, 6, 7 and 8 are raw files.
enum LumoImageType : int32_t {};

/// The host's processing sequence; the named ones are the fast paths.
enum LumoProcessSequenceType : int32_t {
    kLumoProcessSequenceFastNormal = 3,
    kLumoProcessSequenceFastPrint = 10,
    kLumoProcessSequenceFastHalfPrint = 11,
    kLumoProcessSequenceFastHalfNormal = 12
};

/// The stage within a processing sequence.
enum LumoImageProcessLevel : int32_t { kLumoImageProcessLevelFirst = 1 };

/// Reduced-size raw development; every other value develops at full size (256/256).
enum LumoRawImageResizeMode : int32_t {
    kLumoRawImageResize13of16 = 2,  ///< 208/256 of the full size
    kLumoRawImageResizeHalf = 3     ///< 128/256 of the full size
};

/// A power-of-two reduction of the processed image; every other value is full size.
enum LumoProcessRatio : int32_t {
    kLumoProcessRatioFull = 1,
    kLumoProcessRatioHalf = 2,
    kLumoProcessRatioQuarter = 3,
    kLumoProcessRatioEighth = 4
};

/// Fisheye projection of a lens; 1 to 5 are the same projections as the
/// distortion effects 1 to 5.
enum LumoProjectionType : int32_t {
    kLumoProjectionTypeNone = -1,
    kLumoProjectionTypeFirst = 1,
    kLumoProjectionTypeLast = 5
};

/// Distortion correction applied to an image; 1 to 5 correct the projections 1 to 5.
enum LumoDistortionEffect : int32_t {
    kLumoDistortionEffectNone = -1,
    kLumoDistortionEffectAsCaptured = 0,  ///< the image is left as the lens drew it
    kLumoDistortionEffectFirst = 1,
    kLumoDistortionEffectLast = 5
};

/// A channel of an image.
enum LumoImagePixelType : int32_t {
    kLumoPixelRed = 6,
    kLumoPixelGreen = 7,
    kLumoPixelBlue = 8,
    kLumoPixelPlaneA = 9,   ///< first channel of a kind-4 image; fourth channel of a kind-5 image
    kLumoPixelPlaneB = 10,  ///< second channel of a kind-4 image
    kLumoPixelPlaneC = 11   ///< third channel of a kind-4 image
};

// ---- Geometry -------------------------------------------------------------------
// Angles are in degrees. Radians are formed as degrees * 3.141592653 / 180.0,
// the product first: the truncated pi matches the host's other computations
// to the last bit.

/// degrees * 3.141592653 / 180.0.
LUMO_API double __DegreeToRadian(double degrees);

/// Size of the bounding box of a width x height image rotated by `degrees`,
/// each side rounded half up. Nothing when an output is null or a size negative.
LUMO_API void __getArbitraryRotatedImageSize(int32_t* outWidth, int32_t* outHeight, int32_t width,
                                             int32_t height, double degrees);

/// As __getArbitraryRotatedImageSize, unrounded.
LUMO_API void __getArbitraryRotatedImageSizeF(double* outWidth, double* outHeight, int32_t width,
                                              int32_t height, double degrees);

/// `point` rotated about `centre` by `degrees` (counter-clockwise in a y-up frame). Nothing when out is null.
LUMO_API void __getArbitraryRotatedPoint(tagLumoFPoint* out, tagLumoFPoint point, tagLumoFPoint centre,
                                         double degrees);

/// Rotates four corners about `centre` into `rotatedCorners` and, when
/// `bounds` is not null, stores their bounding box. Nothing when either corner array is null.
LUMO_API void __getArbitraryRotatedRect(tagLumoFPoint* corners, tagLumoFPoint centre, double degrees,
                                        tagLumoFPoint* rotatedCorners, tagLumoFRect* bounds);

/// x where y = slope * x meets the line through (x1, y1) and (x2, y2), in
/// single precision; x1 for a vertical edge. Parallel lines give inf or NaN.
LUMO_API float __calculateIntersectionX(float slope, float x1, float y1, float x2, float y2);

/// The largest rectangle of aspect aspect.x : aspect.y, centred, inside a
/// width x height image rotated by `degrees`, in the coordinates of the rotated
/// image's bounding box; never smaller than 8 x 8. Nothing when out is null or a size negative.
LUMO_API void __calculateInsideRect(tagLumoRect* out, int32_t width, int32_t height, double degrees,
                                    const tagLumoFPoint& aspect);

/// start + max(end - start, 0), the difference wrapping in 32 bits: the larger
/// of the two for ordinary values. No rounding to a multiple of 8.
LUMO_API int32_t __getEndX8(int32_t start, int32_t end);

// ---- Tone and gamma -------------------------------------------------------------

/// Raw gamma levels; the meaning of the levels A to E is the host's.
struct tagLumoRawGammaInfo {
    double bitDepth;  ///< bits of the raw levels (default 14)
    double levelA;    ///< default 0
    double levelB;    ///< default 16383
    double levelC;    ///< default 1200
    double levelD;    ///< default 0
    double levelE;    ///< default 16383
};

/// Tone-curve block of 137 unsigned 16-bit values, as the host stores it.
struct gnzLumoGamma {
    uint16_t head10;      ///< 10
    uint16_t head9;       ///< 9
    uint16_t pointCount;  ///< at most 10
    uint16_t x[64];
    uint16_t y[64];
    uint16_t levels[4];
    uint16_t zero[2];
};

/// Most points a tagLumoGammaPoint holds; the packing reads at most 10 of them.
LUMO_CONSTANT int32_t kLumoGammaPointCapacity = 64;

/// A tone curve given as points, the input of the RGB gamma packing.
struct tagLumoGammaPoint {
    int32_t bitDepth;   ///< bits of every value below
    int32_t level1;
    int32_t level2;
    int32_t level3;
    int32_t level4;
    int32_t pointCount;  ///< points used; the packing cuts 11 or more down to 10, here too
    tagLumoPoint points[kLumoGammaPointCapacity];  ///< (x, y) pairs
};

/// The 352-byte record shared by the raw and the RGB gamma packing; the host
/// reads it as stored, so every offset is fixed.
struct LumoGammaInfoForCalculate {
    int32_t lineType;       ///< RGB: the LumoToneCurveLineType; raw: 0
    uint16_t isRGBCurve;    ///< RGB: 1; raw: 0
    uint16_t reserved6;     ///< 0
    double levelA;          ///< raw: level A / M (M = 2^bits - 1)
    double levelB;          ///< raw: level B / M
    double levelD;          ///< raw: level D / M
    double levelE;          ///< raw: level E / M
    double parameter1;      ///< raw: first double argument
    double parameter2;      ///< raw: second double argument
    double levelC;          ///< raw: level C / M
    gnzLumoGamma curve;     ///< raw: the caller's block, levels 3 and 4 rescaled; RGB: built from the points
    uint16_t reserved338;   ///< 0
    int32_t parameter3;     ///< raw: integer argument
    LumoHDRProcessMode hdrMode;  ///< raw only
    LumoOstraLogType logType;    ///< raw only
};

/// A larger host record describing a parsed image, passed by value. Only the
/// image width and height (its 7th and 8th 32-bit words) are read here; the
/// reserved words stand for the rest of the host's layout.
struct tagLumoParseImageInfo {
    uint32_t reserved0[6];
    uint32_t width;
    uint32_t height;
    uint32_t reserved8[8];
};

/// Writes the defaults: 14 bits, levels 0, 16383, 1200, 0, 16383. Nothing for null.
LUMO_API void __initRawGammaInfo(tagLumoRawGammaInfo* info);

/// The levels brought to 12 bits (x 4096 / 2^bits, truncated). The second
/// pointer receives level C and the third level B; D and E are optional.
/// Nothing unless the first three pointers are non-null.
LUMO_API void __get12bitValueWithRawGammaInfo(tagLumoRawGammaInfo& info, int32_t* outA, int32_t* outC,
                                              int32_t* outB, int32_t* outD, int32_t* outE);

/// True when level B on the 12-bit scale reaches 4096.
LUMO_API bool __isNeedKokidokakutyou(const tagLumoRawGammaInfo& info);

/// Packs raw gamma levels, a tone-curve block and the caller's arguments into
/// `out`. Nothing when a pointer is null.
LUMO_API void __setupRawGammaInfoForCalculate(const tagLumoRawGammaInfo* info, const gnzLumoGamma* gamma,
                                              double parameter1, double parameter2, int32_t parameter3,
                                              LumoHDRProcessMode hdrMode, LumoOstraLogType logType,
                                              LumoGammaInfoForCalculate* out);

/// Packs a point curve into `out`, values converted to 16 bits. Cuts a count
/// of 11 or more to 10 in `points` too. False, nothing written, for a null
/// pointer, a count of 0 or below, or a bit depth of 0.
LUMO_API bool __setupRGBGammaInfoForCalculate(LumoToneCurveLineType lineType, tagLumoGammaPoint* points,
                                              LumoGammaInfoForCalculate* out);

/// `value` of `bits` bits on the 12-, 14- or 16-bit scale: widening maps the
/// top of the range to the top, narrowing shifts right; clamped to the range.
LUMO_API uint32_t __get12bitValue(uint32_t bits, int32_t value);
LUMO_API uint32_t __get14bitValue(uint32_t bits, int32_t value);
LUMO_API uint32_t __get16bitValue(uint32_t bits, int32_t value);

/// PQ (SMPTE ST 2084) EOTF: a 16-bit code value to luminance in cd/m^2 (0 .. 10000).
LUMO_API double __calcPQ_EOTF(int32_t code);

/// PQ inverse EOTF: luminance in eighths of a cd/m^2 (0 .. 80000) to a signal in 0 .. 1.
LUMO_API double __calcPQ_OETF(int32_t value);

/// Expands a 10-entry radial gain table into 33 gains in 1/1024 fixed point,
/// evenly spaced in squared radius and never below 1024. Returns 0; does
/// nothing when a table pointer is null.
LUMO_API int32_t __calcVremGainTable_10to33(double* gains10, double radiusScale, tagLumoParseImageInfo info,
                                            double centreX, double centreY, uint32_t pitch, double* gains33);

/// Whether the knee gain applies for a camera in a processing mode.
LUMO_API bool cKneeGain(int32_t mode, uint16_t cameraID);

/// Scales *value by t (unless value is null) and returns 1024 / (d + t) rounded,
/// d being 1 - t weighted by kind, flag and level.
LUMO_API uint32_t calcTValue(int32_t* value, double t, int32_t level, uint32_t kind, int32_t flag);

// ---- Camera models and lenses ------------------------------------------------------
// Answers come from the library's constant model and lens tables; an ID
// without a row gets false or kLumoProjectionTypeNone.

/// Whether the model develops with the WP engine.
LUMO_API bool __isWpEngineModel(uint32_t modelID);
/// Whether the model is a Kite ML model.
LUMO_API bool __isKiteMLModel(uint32_t modelID);
/// The projection of a fisheye lens; kLumoProjectionTypeNone for every other lens.
LUMO_API LumoProjectionType __getFisheyeProjectionType(uint32_t lensID);
/// Whether the lens is a fisheye lens.
LUMO_API bool __isFisheye(uint32_t lensID);
/// Whether the lens is one of the older fisheye lenses.
LUMO_API bool __isOldFisheyeLens(uint32_t lensID);

// ---- Raw resize modes and process-mode predicates ------------------------------------
// Reduced-size raw modes scale by r/256 (208 for mode 2, 128 for mode 3, 256
// otherwise), in unsigned 32-bit arithmetic that wraps.

/// True for the raw file types 2, 4, 6, 7, 8.
LUMO_API bool __isIsRawFile(LumoImageType type);
/// True for the fast sequences 3, 10, 11, 12.
LUMO_API bool __isFastProcess(LumoProcessSequenceType sequence);
/// True for 11 and 12.
LUMO_API bool __isFastHalfProcess(LumoProcessSequenceType sequence);
/// True for 3 and 12.
LUMO_API bool __isFastNormalProcess(LumoProcessSequenceType sequence);
/// True for 10 and 11.
LUMO_API bool __isFastPrintProcess(LumoProcessSequenceType sequence);
/// A fast sequence at its first stage (level 1).
LUMO_API bool __isFast1stProcess(LumoProcessSequenceType sequence, LumoImageProcessLevel level);
/// A fast sequence past its first stage (level other than 1).
LUMO_API bool __isFastAfterProcess(LumoProcessSequenceType sequence, LumoImageProcessLevel level);

/// r: 208, 128 or 256.
LUMO_API uint32_t __getRawImageResizeRatio(LumoRawImageResizeMode mode);
/// r / 256: a fraction (0.8125, 0.5 or 1.0), not a percentage.
LUMO_API double __getRawImageResizePercent(LumoRawImageResizeMode mode);
/// (r * value) >> 8.
LUMO_API uint32_t __convValueFull2Resize(LumoRawImageResizeMode mode, uint32_t value);
/// The ceiling of value * 256 / r, rounded up to an even number.
LUMO_API uint32_t __convValueResize2Full(LumoRawImageResizeMode mode, uint32_t value);
/// Width and height each (r * value) >> 8.
LUMO_API tagLumoSize __getRawImageResizeSize(tagLumoSize size, LumoRawImageResizeMode mode);
/// All four fields each (r * value) >> 8, the origin taken as unsigned.
LUMO_API tagLumoRect __getRawImageResizeRect(tagLumoRect rect, LumoRawImageResizeMode mode);

/// 0.5, 0.25, 0.125 for ratios 2, 3, 4; 1.0 otherwise.
LUMO_API double __getDoubleValueFromProcessRatio(LumoProcessRatio ratio);
/// True for every mode but 0.
LUMO_API bool __isNeedHDRProcess(LumoHDRProcessMode mode);
/// The green-red shift of a Bayer pattern: 1 (1,0), 2 (0,0), 3 (1,1), 4 (0,1), others (0,0).
LUMO_API tagLumoPoint __calcGrShiftOffset(uint32_t pattern);
/// 1 to 5 map to themselves, every other value to kLumoDistortionEffectNone.
LUMO_API LumoDistortionEffect __convertProjTypeToDistEffect(LumoProjectionType type);
/// 1 to 5 map to themselves, every other value to kLumoProjectionTypeNone.
LUMO_API LumoProjectionType __convertDistEffectToProjType(LumoDistortionEffect effect);
/// True for effect 0, or when the effect (-1 from 6 up) is the lens's fisheye projection.
LUMO_API bool __isAtCaptureDistortionEffect(uint32_t lensID, LumoDistortionEffect effect);

// ---- Image planes and debug dump ----------------------------------------------------

LUMO_CONSTANT int32_t kLumoImageLayoutPlanar = 1;  ///< one plane per channel
LUMO_CONSTANT int32_t kLumoImageLayoutChunky = 2;  ///< channels interleaved in plane 0

/// The host's image object: a plain record that the host fills in directly.
///
/// Kinds: 1 and 12 hold one sample per pixel; 2 holds channels red, green,
/// blue; 3 blue, green, red; 4 the channels PlaneA, PlaneB, PlaneC; 5 red,
/// green, blue, PlaneA; 6 to 11 are single-plane kinds of one sample per pixel.
/// A chunky image stores a pixel's samples contiguously in plane 0 in that
/// order; a planar image holds one channel per plane in that order.
/// Every plane has rows of `rowBytes` bytes (0: tightly packed, that is
/// width x samples per pixel of the plane x bytes per sample).
class CLumoImage {
public:
    int32_t kind;           ///< colour arrangement, 1 to 12
    int32_t layout;         ///< kLumoImageLayoutPlanar or kLumoImageLayoutChunky
    int32_t bitsPerSample;  ///< 8 or 16
    int32_t width;          ///< pixels
    int32_t height;         ///< pixels
    uint32_t rowBytes;      ///< bytes between row starts in every plane; 0 = tightly packed
    tagLumoFRect validRegion;  ///< the part of the image holding valid pixels
    void* plane[4];         ///< planes 0 to 3; only plane 0 for chunky and single-plane images

    /// Position of a channel within a chunky pixel; -1 for a planar image or
    /// a channel the kind lacks.
    LUMO_API int32_t getChannelIndexOfChunkyPixel(LumoImagePixelType type) const;
    /// The first sample of a channel (its plane, or its place in a chunky
    /// pixel); null when the image has no such channel or its plane is null.
    LUMO_API void* getPlane(LumoImagePixelType type) const;
};

using __LumoObject = CLumoImage;

/// Writes the image's samples, headerless, rows top to bottom and each pixel's
/// samples in channel order, to "<baseName>_size(WxH)_valid(x,y)(wxh).raw".
/// Nothing when a pointer or a needed plane is null, the size is negative, or
/// the file cannot be opened; nothing is reported.
LUMO_API void __saveImage(__LumoObject* image, const char* baseName);

/// 4096 pseudo-random values 0 .. 32767 for dithering: the outputs of
/// x = x * 214013 + 2531011 (mod 2^32) from x = 1, each (x >> 16) & 0x7FFF.
LUMO_API extern const int32_t s_random_table[4096];

/// A dither value from the table (index & 0xFFF, negative index as 0): mode 4
/// gives -15 .. 15, mode 2 -3 .. 3, mode 1 -1 .. 1, any other mode 0.
LUMO_API int32_t getRandomValue(int32_t index, uint32_t mode);

/// True when any element is null; false for an empty list.
LUMO_API bool __hasNULLPointer(std::vector<void*>& list);

/// Releases every non-null block of the system allocator in `list` and nulls
/// its element; the length stays.
LUMO_API void __releasePointerList(std::vector<void*>& list);

static_assert(sizeof(gnzLumoGamma) == 274, "gnzLumoGamma layout");
static_assert(offsetof(gnzLumoGamma, pointCount) == 4 && offsetof(gnzLumoGamma, x) == 6 &&
                  offsetof(gnzLumoGamma, y) == 134 && offsetof(gnzLumoGamma, levels) == 262 &&
                  offsetof(gnzLumoGamma, zero) == 270,
              "gnzLumoGamma layout");
static_assert(sizeof(LumoGammaInfoForCalculate) == 352, "LumoGammaInfoForCalculate layout");
static_assert(offsetof(LumoGammaInfoForCalculate, lineType) == 0 &&
                  offsetof(LumoGammaInfoForCalculate, isRGBCurve) == 4 &&
                  offsetof(LumoGammaInfoForCalculate, reserved6) == 6 &&
                  offsetof(LumoGammaInfoForCalculate, levelA) == 8 &&
                  offsetof(LumoGammaInfoForCalculate, levelB) == 16 &&
                  offsetof(LumoGammaInfoForCalculate, levelD) == 24 &&
                  offsetof(LumoGammaInfoForCalculate, levelE) == 32 &&
                  offsetof(LumoGammaInfoForCalculate, parameter1) == 40 &&
                  offsetof(LumoGammaInfoForCalculate, parameter2) == 48 &&
                  offsetof(LumoGammaInfoForCalculate, levelC) == 56 &&
                  offsetof(LumoGammaInfoForCalculate, curve) == 64 &&
                  offsetof(LumoGammaInfoForCalculate, reserved338) == 338 &&
                  offsetof(LumoGammaInfoForCalculate, parameter3) == 340 &&
                  offsetof(LumoGammaInfoForCalculate, hdrMode) == 344 &&
                  offsetof(LumoGammaInfoForCalculate, logType) == 348,
              "LumoGammaInfoForCalculate layout");
static_assert(offsetof(tagLumoGammaPoint, pointCount) == 20 && offsetof(tagLumoGammaPoint, points) == 24,
              "tagLumoGammaPoint layout");
static_assert(offsetof(tagLumoParseImageInfo, width) == 24 && offsetof(tagLumoParseImageInfo, height) == 28,
              "tagLumoParseImageInfo layout");
static_assert(sizeof(tagLumoRawGammaInfo) == 48, "tagLumoRawGammaInfo layout");

#endif  // LUMOMATH_LUMOUTILITY_H
