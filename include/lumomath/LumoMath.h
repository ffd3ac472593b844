/*
 * LumoMath — image mathematics for raw-photo development.
 *
 * The C interface of liblumomath: geometry records, result codes, resizing of
 * 8- and 16-bit interleaved images, PSF <-> OTF conversion and the runtime
 * services. Compiles as C99 or later and as C++11 or later (LumoUtility.h,
 * the C++ helpers, needs C++11).
 *
 * Image buffers are never objects. Every call passes, separately:
 *   channels       interleaved samples per pixel (sample c of pixel x of a row
 *                  is sample x * channels + c);
 *   bitsPerSample  8 (unsigned bytes) or 16 (native-endian unsigned 16-bit);
 *   a pointer      to the first sample of the top row;
 *   a tagLumoSize  width and height in pixels;
 *   rowBytes       bytes between the starts of two rows (padding is never
 *                  read or written).
 * The caller owns every buffer; the library keeps no pointer after a call.
 */
#ifndef LUMOMATH_LUMOMATH_H
#define LUMOMATH_LUMOMATH_H

/* The library's version. This is the one place it is kept: the build reads
 * these three lines, so each stays "#define LUMOMATH_VERSION_<part> <number>". */
#define LUMOMATH_VERSION_MAJOR 0
#define LUMOMATH_VERSION_MINOR 1
#define LUMOMATH_VERSION_PATCH 0

#include <stddef.h>
#include <stdint.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#if defined(__GNUC__) || defined(__clang__)
#define LUMO_API __attribute__((visibility("default")))
#else
#define LUMO_API
#endif

/* Named constants of the C++ interface: one object per program from C++17 on,
 * a constant of each translation unit before that. Either way they are
 * constant expressions of the stated type and never exported symbols. */
#ifdef __cplusplus
#if __cplusplus >= 201703L
#define LUMO_CONSTANT inline constexpr
#else
#define LUMO_CONSTANT constexpr
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Geometry records: plain values, fields in this order and nothing else. */

/** A point in pixels. */
typedef struct tagLumoPoint {
    int32_t x;
    int32_t y;
} tagLumoPoint;

/** An extent in pixels. */
typedef struct tagLumoSize {
    uint32_t width;
    uint32_t height;
} tagLumoSize;

/** Origin and extent (never two corners): columns x .. x+width-1, rows y .. y+height-1. */
typedef struct tagLumoRect {
    int32_t x;
    int32_t y;
    uint32_t width;
    uint32_t height;
} tagLumoRect;

/** A point in double precision. */
typedef struct tagLumoFPoint {
    double x;
    double y;
} tagLumoFPoint;

/** An extent in double precision. */
typedef struct tagLumoFSize {
    double width;
    double height;
} tagLumoFSize;

/** Origin and extent in double precision, same meaning as tagLumoRect. */
typedef struct tagLumoFRect {
    double x;
    double y;
    double width;
    double height;
} tagLumoFRect;

/* All-zero constants, exported as data. */
LUMO_API extern const tagLumoPoint kLumoPointZero;
LUMO_API extern const tagLumoFPoint kLumoFPointZero;
LUMO_API extern const tagLumoSize kLumoSizeZero;
LUMO_API extern const tagLumoFSize kLumoFSizeZero;
LUMO_API extern const tagLumoRect kLumoRectZero;
LUMO_API extern const tagLumoFRect kLumoFRectZero;

/* ---- Scaling methods: a call names exactly one; any other value is unknown. */

typedef uint32_t LumoScalingMethod;
#ifdef __cplusplus
LUMO_CONSTANT LumoScalingMethod kLumoScalingNearestNeighbor = 1; /**< copy of the source pixel under the mapped coordinate */
LUMO_CONSTANT LumoScalingMethod kLumoScalingBiLinear = 2;        /**< two-tap separable interpolation */
LUMO_CONSTANT LumoScalingMethod kLumoScalingBiCubic = 4;         /**< four-tap cubic convolution */
LUMO_CONSTANT LumoScalingMethod kLumoScalingSuperSampling = 8;   /**< area averaging; reduction only */
#else
enum {
    kLumoScalingNearestNeighbor = 1,
    kLumoScalingBiLinear = 2,
    kLumoScalingBiCubic = 4,
    kLumoScalingSuperSampling = 8
};
#endif

/* ---- Result codes: unsigned 32-bit, 0 for success. */

typedef uint32_t LumoResult;
#ifdef __cplusplus
LUMO_CONSTANT LumoResult kLumoResultOK = 0;
LUMO_CONSTANT LumoResult kLumoResultNoMemory = 3;          /**< working memory (or a worker thread) could not be had */
LUMO_CONSTANT LumoResult kLumoResultRegionNoMemory = 4;    /**< ResizeWithRegion: an intermediate image could not be allocated */
LUMO_CONSTANT LumoResult kLumoResultInvalidParameter = 7;  /**< unknown method, unsupported depth, or an unusable argument */
LUMO_CONSTANT LumoResult kLumoResultAccessDenied = 41;     /**< a system call failed with EPERM or EACCES */
LUMO_CONSTANT LumoResult kLumoResultUnsupportedDepth = 96; /**< ResizeWithRegion: depth neither 8 nor 16 without halving */
#else
enum {
    kLumoResultOK = 0,
    kLumoResultNoMemory = 3,
    kLumoResultRegionNoMemory = 4,
    kLumoResultInvalidParameter = 7,
    kLumoResultAccessDenied = 41,
    kLumoResultUnsupportedDepth = 96
};
#endif

/* ---- Resizing ----------------------------------------------------------------
 *
 * Threads. Any number of host threads may call the resize functions at once,
 * and the transfer functions (below) at the same time. LumoMathResize and
 * LumoMathResizeWithRegion share one worker pool of LumoGetProcessorNum()
 * threads: the first call creates it, overlapping calls join it, and the last
 * one to return stops and joins its threads, so no library thread outlives
 * the calls (calls made one after another each start a pool of their own).
 * The threads start only when a call first has enough work to split: a call
 * on a small image (up to a few hundred microseconds of work) runs on the
 * calling thread alone and starts no thread.
 * A call cuts its rows into at most one contiguous band per worker (a small
 * image into fewer, down to one), runs one band on the calling thread and
 * returns when all its own bands are done; bands of concurrent calls queue
 * first in, first out. A call only reads its source and only writes its
 * destination and its own working memory, so calls on separate buffers need
 * no locking by the host, and several calls may read one source. A buffer
 * that a call writes must not be read or written by anything else until that
 * call returns. ResizeWithRegion runs on the calling thread alone and never
 * touches the pool.
 */

/** Does nothing; returns kLumoResultOK. Resizing works without it. */
LUMO_API LumoResult LumoMathInitialize(void);

/** Does nothing; returns kLumoResultOK. */
LUMO_API LumoResult LumoMathTerminate(void);

/*
 * What the resize entry points accept.
 *
 * A call is checked before any pixel is read, in this order; the first
 * refusal decides the result and nothing is written then:
 *   7  method is not exactly one of the four;
 *   7  super-sampling where neither direction shrinks, the destination being
 *      compared with the whole source also for a region;
 *   7  bitsPerSample other than 8 or 16;
 *   7  super-sampling with more than 4 channels.
 * A destination of width or height 0 then succeeds at once: the result is 0
 * and neither buffer is touched. Otherwise these give 7:
 *   - a null source or destination;
 *   - a source of zero width or height;
 *   - an image (source or destination) wider or higher than 2^31 - 1 pixels;
 *     whose row (width * channels * bytes per sample) or whose extent
 *     (rowBytes * (height - 1) + row) exceeds 2^32 - 1 bytes; or whose
 *     rowBytes is shorter than its row while it has more than one row;
 *   - for a region: a width or height of 0; for every method but nearest
 *     neighbour, a region that does not lie inside the source (nearest
 *     neighbour clamps each mapped pixel to the source, so its regions may
 *     reach outside it or lie wholly outside);
 *   - bilinear and bicubic, whose working memory would not fit 32-bit sizes:
 *     2 (bilinear) or 4 (bicubic) times the destination width or height, or
 *     channels * destination width * input height * bytes per sample, the
 *     input being the source or the region, at 2^32 or more.
 * A call that passes with 0 channels has no sample to move and succeeds at
 * once with 0.
 * Working memory or a worker thread that cannot be had gives 3 before any
 * pixel is written. Any other failure inside the call (memory running out
 * while row tasks are queued) also gives 3, possibly after some rows were
 * written. Nothing is thrown, and the pool hold is released on every path.
 */

/*
 * Where a destination pixel comes from (LumoMathResize and
 * LumoMathResizeWithRegion; ResizeWithRegion maps differently, see there).
 *
 * The input is the source, or the region; W x H is its size and w x h the
 * destination's. The scale factor of the columns is s = w / W and that of the
 * rows t = h / H, destination over input, each computed in double from the
 * 32-bit sizes (above 1 enlarges); each axis is mapped on its own, rows as
 * columns below. A destination coordinate is mapped onto the input by
 * dividing by the factor, never by multiplying by its inverse. Input pixel i
 * covers [i, i + 1) and has its centre at i + 0.5. Conversions to integers
 * truncate toward zero (never floor, never round), and sample values are
 * clamped to 0 .. 255 or 0 .. 65535 and truncated, with no rounding term.
 *
 * Nearest neighbour (corners, no interpolation): destination column x copies
 * input column trunc(x / s), for a region trunc(x / s + region.x) with the
 * sum formed in double. Below 0 it takes column 0, at or past the source
 * width the last source column. Column 0 copies column 0 and column w - 1
 * copies trunc((w - 1) / s). Example: 3 to 8 columns copy 0 0 0 1 1 1 2 2.
 *
 * Bilinear (centres, 2 taps): destination column x has its centre at
 * c = (x + 0.5) / s. It reads columns i0 = trunc((c - 1) + 0.5) and i0 + 1,
 * each weighted 1 - |i + 0.5 - c| and divided by the sum of the two; a column
 * past the last reads the last. Inside the image this is (1 - f, f). At the
 * near edge (c < 0.5: the first columns of an enlargement) i0 is 0, and the
 * value extrapolates from columns 0 and 1 with weights (0.5 + c) / 2c and
 * (c - 0.5) / 2c, one above 1 and one negative; at the far edge the last
 * column is repeated. Example, 2 to 4 columns: column 0 reads columns 0 and
 * 1 with 1.5 and -0.5, column 3 reads column 1 with 0.75 + 0.25. A reduction
 * does not widen the taps: beyond 2:1 some input pixels are not read at all.
 *
 * Bicubic (centres, 4 taps): with c as for bilinear, destination column x
 * reads columns i0 = trunc((c - 2) + 0.5) to i0 + 3, each weighted
 * k(i + 0.5 - c) and divided by the sum of the four; a column before 0 or
 * past the last reads that edge column. Because i0 truncates, for c below
 * 1.5 the taps start one column right of the nearest four (-1 rather than
 * -2, 0 rather than -1) and the division by the sum makes up for the missing
 * tap. The kernel k is cubic convolution with a = -0.5, that is
 * -0.5|t|^3 + 2.5|t|^2 - 4|t| + 2 on 1 <= |t| < 2 and 0 from |t| = 2 on,
 * except that on |t| < 1 it is the library's own 0.5|t|^3 - |t|^2 - 0.5|t| + 1
 * (not the matching 1.5|t|^3 - 2.5|t|^2 + 1): k(0) = 1, k(0.25) = 0.8203125,
 * k(0.5) = 0.5625, k(0.75) = 0.2734375, k(1) = 0, k(1.5) = -0.0625. An
 * identity resize copies exactly. Example, 4 to 8 columns: column 0
 * (c = 0.25) reads 0, 0, 1, 2 with 0.2734375, 0.8203125, -0.0703125 and 0,
 * each divided by 1.0234375. A reduction samples with the same 4 taps (no
 * prefilter): beyond 4:1 some input pixels are not read at all.
 *
 * Both interpolating methods work along the rows first, into an image of
 * the destination width and the input height held at the sample depth (so
 * clamped and truncated), then along the columns; overshoot is clamped in
 * each pass.
 *
 * Super-sampling (corners, area): destination pixel (x, y) covers
 * [x / s, (x + 1) / s) x [y / t, (y + 1) / t) of the input. Every input pixel
 * it touches adds its samples weighted by the area of it inside that
 * footprint, and the result is the weighted sum over the sum of the weights,
 * truncated. A footprint that reaches past the last column or row (by
 * rounding) gives the edge pixel the weight of the part outside; none starts
 * before column or row 0. On an axis that grows, a pixel is the weighted
 * mean of the one or two input pixels under its footprint. Example: samples
 * 0 10 20 30 40 reduced to 2 give 8 and 32 (footprints [0, 2.5), [2.5, 5)).
 *
 * A region: the factors are destination over region size, and destination
 * pixel 0 maps onto the region's origin. Bilinear and bicubic treat the
 * region as an image of its own, clamping their taps to its edges, so no
 * pixel outside it is read. Super-sampling places its footprints from the
 * origin and clamps them to the region's last column and row. Nearest
 * neighbour adds the origin to the mapped coordinate and clamps against the
 * whole source, so a region reaching outside the source repeats the source's
 * edge pixels.
 */

/**
 * Scales the whole source image to the whole destination with one method,
 * spreading rows over the shared worker pool (created for the call when no
 * other call holds it).
 * Returns 0; 7 as listed above; 3 when working memory (or a worker thread)
 * cannot be had.
 */
LUMO_API LumoResult LumoMathResize(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                   const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                   void* destination, tagLumoSize destinationSize,
                                   uint32_t destinationRowBytes);

/**
 * Scales the rectangle `region` of the source to the whole destination.
 * Nearest neighbour clamps to the whole source; the other methods read only
 * inside the region, which must lie inside the source. Result codes and
 * refusals as LumoMathResize (above). Super-sampling compares the destination
 * with the whole source size when deciding that it reduces.
 */
LUMO_API LumoResult LumoMathResizeWithRegion(LumoScalingMethod method, uint32_t channels,
                                             uint32_t bitsPerSample, const void* source,
                                             tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                             tagLumoRect region, void* destination,
                                             tagLumoSize destinationSize, uint32_t destinationRowBytes);

/*
 * The two region routines side by side.
 *              LumoMathResizeWithRegion           ResizeWithRegion
 *   threads    the shared pool, the caller too    the calling thread only
 *   method     the one named; 7 for any other     ignored
 *   factors    columns and rows each their own    destination width over
 *                                                 region width, for both
 *   grid       as described above                 corners (below)
 *   reducing   in one step (super-sampling        2x2 halvings while the
 *              averages, the others sample)       destination fits, then one
 *                                                 bilinear step
 *   rounding   none: values truncate              halvings round, the
 *                                                 bilinear step truncates
 *   depths     8 and 16; 7 for any other          8 and 16, 96 for any other;
 *                                                 when halving every depth
 *                                                 but 8 reads 16-bit samples
 *   region     inside the source (nearest         inside the source
 *              neighbour: anywhere)
 *   codes      0, 3, 7                            0, 4, 7, 96
 * LumoMathResizeWithRegion is the one to call for a chosen method, for a
 * region whose aspect ratio differs from the destination's, and for large
 * images. ResizeWithRegion serves a host that must not have threads started
 * for it, or that wants this routine's output: its bilinear values are not
 * those of LumoMathResizeWithRegion with kLumoScalingBiLinear.
 *
 * How ResizeWithRegion maps its pixels. W x H is the region's size and
 * w x h the destination's.
 *   Halving, only when w < W and h < H: while half the current size
 *   (width / 2, height / 2, truncated) is still at least w x h, pixel (x, y)
 *   of the half image is (a + b + c + d + 2) / 4 in integers, a to d being
 *   columns 2x, 2x + 1 of rows 2y, 2y + 1 (halves round up); an odd last
 *   column or row is dropped.
 *   Then a halved image of exactly w x h is copied. Any other image (also an
 *   unhalved region of the destination's size) is resampled with one
 *   factor s = w / width (double) for both axes, on corners: column x maps to
 *   f = x / s, or to width - 1 when f reaches the width; it reads columns
 *   i = trunc(f) and i + 1 (the last column past the edge), with weights
 *   1 - (f - i) and f - i; rows alike, y / s against the height. The value
 *   p00 + ((p10 - p00) wy + ((p00 - p01 - p10 + p11) wx wy + (p01 - p00) wx))
 *   in double is truncated, never clamped (it stays within its samples).
 *   Destination pixel 0 is the region's first pixel, and enlarging repeats
 *   the last column and row at the far edges. Where the aspect ratios
 *   differ, rows past H * s repeat the last row, and rows of the input past
 *   h / s are not read.
 */

/**
 * Single-threaded region resize: halves the region by 2x2 rounded means while
 * it still covers the destination, then copies (exact fit) or interpolates
 * bilinearly with one scale factor (destination width over current width) for
 * both axes. `method` is accepted and ignored.
 * Runs on the calling thread and never throws. Checked in this order:
 *   7  region or destination of zero width or height, or a region or
 *      destination extent or the channel count above 2^31 - 1;
 *   96 no halving needed (the destination is not smaller than the region in
 *      both directions) and a depth neither 8 nor 16; when halving, every
 *      depth but 8 is read as 16-bit samples;
 *   7  a null source or destination; a region not inside the source; a
 *      source or destination that fails the image rules of LumoMathResize,
 *      source samples counting max(2, ceil(bitsPerSample / 8)) bytes for
 *      depths other than 8 (the region's origin steps by the stated depth
 *      while halving reads 16-bit samples), destination samples 1 byte at
 *      depth 8 and 2 otherwise;
 *   0  channels 0: nothing is read or written.
 * Returns 0 otherwise; 4 when an intermediate image cannot be allocated.
 * Nothing is written when the result is not 0.
 */
LUMO_API LumoResult ResizeWithRegion(LumoScalingMethod method, uint32_t channels, uint32_t bitsPerSample,
                                     const void* source, tagLumoSize sourceSize, uint32_t sourceRowBytes,
                                     tagLumoRect region, void* destination, tagLumoSize destinationSize,
                                     uint32_t destinationRowBytes);

/* ---- PSF <-> OTF -----------------------------------------------------------
 * `count` planes of width x height complex samples, each held as separate
 * real and imaginary arrays of doubles, row-major; plane p starts at element
 * p * width * height. Outputs may be the same arrays as the inputs.
 * The forward transform (OtfFromPsf) is unscaled with exponent sign -1; the
 * inverse (PsfFromOtf) is scaled by 1 / (width * height).
 * Returns 0; 7 when count > 0 and width or height is not positive, width *
 * height exceeds 2^31 - 1, count * width * height exceeds 2^32 - 1 or an
 * array is null; 3 when working memory or the transform plan cannot be had
 * (also for sizes whose transform span the platform cannot plan). Nothing is
 * written when the result is not 0, and nothing is thrown.
 * count <= 0 writes nothing and returns 0 (or 3 when the working memory for
 * the given size cannot be had).
 * Threads: a call runs on the calling thread alone and writes only its output
 * arrays and its own working memory; calls on separate arrays may run at
 * once, also beside resizing. A build on an external transform library
 * makes and releases its plans under one lock of its own and runs them
 * without it; that lock does not cover a host which plans transforms with the
 * same external library on another thread at the same time. The built-in
 * transform shares nothing between calls.
 */

/** PSF to OTF in single precision (inputs narrowed to float, results rounded to float). */
LUMO_API int32_t LumoMathConvertOtfFromPsf(const double* inReal, const double* inImag, double* outReal,
                                           double* outImag, int32_t width, int32_t height, int32_t count);
/** OTF to PSF in single precision. */
LUMO_API int32_t LumoMathConvertPsfFromOtf(const double* inReal, const double* inImag, double* outReal,
                                           double* outImag, int32_t width, int32_t height, int32_t count);
/** PSF to OTF in double precision. */
LUMO_API int32_t LumoMathConvertOtfFromPsf_D(const double* inReal, const double* inImag, double* outReal,
                                             double* outImag, int32_t width, int32_t height, int32_t count);
/** OTF to PSF in double precision. */
LUMO_API int32_t LumoMathConvertPsfFromOtf_D(const double* inReal, const double* inImag, double* outReal,
                                             double* outImag, int32_t width, int32_t height, int32_t count);

/* ---- Runtime services ------------------------------------------------------ */

/**
 * Overrides the processor count that sizes the next worker pool; 0 returns to
 * the system count. Not synchronised with resizing: the count is read only
 * when a pool is created, a pool alive at the time keeps its workers, and
 * while other threads resize it is unpredictable which of their calls see the
 * new count. The store itself is atomic (calling it from any thread is no
 * data race), but set it before resizing starts.
 */
LUMO_API void Set_ProcessorNum(uint32_t count);

/**
 * The worker count for a new pool: the override read as signed and clamped to
 * 1..64, or else the processors this process may run on, capped at 64
 * (1 when the system cannot tell).
 */
LUMO_API uint32_t LumoGetProcessorNum(void);

/** Processor vector extensions, asked of the processor on every call (safe from any thread). */
LUMO_API bool LumoCanUseSSE3(void);
LUMO_API bool LumoCanUseSSSE3(void);
LUMO_API bool LumoCanUseSSE4_1(void);
LUMO_API bool LumoCanUseSSE4_2(void);
LUMO_API bool LumoCanUseAVX(void);
LUMO_API bool LumoCanUseAVX2(void);

/**
 * The processor's architecture and the vector extensions it offers, as text
 * for diagnostics: "x86-64: SSE3 SSSE3 SSE4.1 SSE4.2 AVX AVX2 FMA AVX-512F
 * AVX-512BW" (those present), or on 64-bit Arm "aarch64: NEON fp16 dotprod
 * i8mm bf16 SVE SVE2 (256-bit vectors)" (those present, with SVE's vector
 * length). The LumoCanUse functions above keep their fixed answers on Arm.
 * The text is static, the same on every call (never free it); safe from any
 * thread.
 */
LUMO_API const char* LumoMathProcessorFeatures(void);

/**
 * Which vector code runs, as text for diagnostics: the instruction-set target
 * picked for this processor ("AVX2", "AVX3", "NEON", "SCALAR", ...) and what
 * the environment variable LUMOMATH_TARGET made of it. That variable, read
 * once per process at the library's first use, is for triage in the field:
 *   unset or empty  the best target this processor runs ("AVX3");
 *   "plain"         the plain reference resize kernels, and the plainest
 *                   target for vector code that has no plain twin
 *                   ("plain kernels, other vector code on SCALAR (forced by
 *                   LUMOMATH_TARGET)");
 *   a target name   that target, in any letter case, when the library was
 *                   built with it and the processor runs it ("SSE4 (forced
 *                   by LUMOMATH_TARGET)"); any other value is ignored and
 *                   says why ("AVX3 (LUMOMATH_TARGET=bogus ignored: no such
 *                   target)").
 * Forcing affects the library alone, never a host's own use of the same
 * vector library. The text is static, the same on every call (never free
 * it); safe from any thread.
 */
LUMO_API const char* LumoMathKernelTarget(void);

/** 41 (kLumoResultAccessDenied) for EPERM (1) and EACCES (13); `fallback` otherwise. */
LUMO_API uint32_t ConvertUnixErrorToLumoError(int32_t error, uint32_t fallback);

#ifdef __cplusplus
} /* extern "C" */

static_assert(sizeof(tagLumoPoint) == 8 && offsetof(tagLumoPoint, y) == 4, "tagLumoPoint layout");
static_assert(sizeof(tagLumoSize) == 8 && offsetof(tagLumoSize, height) == 4, "tagLumoSize layout");
static_assert(sizeof(tagLumoRect) == 16 && offsetof(tagLumoRect, y) == 4 && offsetof(tagLumoRect, width) == 8 &&
                  offsetof(tagLumoRect, height) == 12,
              "tagLumoRect layout");
static_assert(sizeof(tagLumoFPoint) == 16 && offsetof(tagLumoFPoint, y) == 8, "tagLumoFPoint layout");
static_assert(sizeof(tagLumoFSize) == 16 && offsetof(tagLumoFSize, height) == 8, "tagLumoFSize layout");
static_assert(sizeof(tagLumoFRect) == 32 && offsetof(tagLumoFRect, y) == 8 && offsetof(tagLumoFRect, width) == 16 &&
                  offsetof(tagLumoFRect, height) == 24,
              "tagLumoFRect layout");
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
_Static_assert(sizeof(tagLumoRect) == 16, "tagLumoRect layout");
_Static_assert(sizeof(tagLumoFRect) == 32, "tagLumoFRect layout");
#endif

#endif /* LUMOMATH_LUMOMATH_H */
