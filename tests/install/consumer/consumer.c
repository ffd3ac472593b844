/* A minimal program using the installed library: resize, refusal, transform. */
#include <stdio.h>
#include <string.h>

#include <lumomath/LumoMath.h>

static int failures = 0;

static void check(int ok, const char* what) {
    if (!ok) {
        fprintf(stderr, "consumer: %s\n", what);
        ++failures;
    }
}

int main(void) {
    /* A 4x4 gray image of one value stays that value whatever the method. */
    uint8_t source[16];
    uint8_t small[4], large[64];
    memset(source, 77, sizeof source);
    const tagLumoSize sourceSize = {4, 4}, smallSize = {2, 2}, largeSize = {8, 8};

    check(LumoMathResize(kLumoScalingSuperSampling, 1, 8, source, sourceSize, 4, small, smallSize, 2) == kLumoResultOK,
          "super-sampling reduction failed");
    check(small[0] == 77 && small[3] == 77, "super-sampling changed a flat image");
    check(LumoMathResize(kLumoScalingBiCubic, 1, 8, source, sourceSize, 4, large, largeSize, 8) == kLumoResultOK,
          "bicubic enlargement failed");
    check(large[0] == 77 && large[63] == 77, "bicubic changed a flat image");

    /* Refusals come back as result codes, with nothing written. */
    memset(small, 0, sizeof small);
    check(LumoMathResize(3, 1, 8, source, sourceSize, 4, small, smallSize, 2) == kLumoResultInvalidParameter,
          "an unknown method was accepted");
    check(small[0] == 0, "a refused call wrote to the destination");

    /* The transform of a unit impulse at the origin is 1 everywhere. */
    double re[16] = {1.0}, im[16] = {0.0};
    check(LumoMathConvertOtfFromPsf_D(re, im, re, im, 4, 4, 1) == 0, "transform failed");
    check(re[5] == 1.0 && im[5] == 0.0, "transform of an impulse is not flat");

    if (failures == 0) printf("consumer: ok (%u worker threads)\n", LumoGetProcessorNum());
    return failures == 0 ? 0 : 1;
}
