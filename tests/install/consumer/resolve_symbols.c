/*
 * resolve_symbols LIBRARY NAMES: dlopen()s LIBRARY and dlsym()s every symbol
 * named in the file NAMES (one linkage name per line), then calls one entry
 * point through the resolved address.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include <lumomath/LumoMath.h>

typedef LumoResult (*ResizeFn)(LumoScalingMethod, uint32_t, uint32_t, const void*, tagLumoSize, uint32_t, void*,
                               tagLumoSize, uint32_t);

int main(int argc, char** argv) {
    if (argc != 3) {
        fprintf(stderr, "usage: resolve_symbols LIBRARY NAMES\n");
        return 2;
    }
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        fprintf(stderr, "resolve_symbols: %s\n", dlerror());
        return 1;
    }
    FILE* names = fopen(argv[2], "r");
    if (!names) {
        perror(argv[2]);
        return 1;
    }
    char name[1024];
    int resolved = 0, missing = 0;
    while (fgets(name, sizeof name, names)) {
        name[strcspn(name, "\r\n")] = '\0';
        if (name[0] == '\0') continue;
        if (dlsym(library, name)) {
            ++resolved;
        } else {
            fprintf(stderr, "resolve_symbols: cannot resolve %s\n", name);
            ++missing;
        }
    }
    fclose(names);

    ResizeFn resize = (ResizeFn)dlsym(library, "LumoMathResize");
    const uint8_t source[4] = {10, 20, 30, 40};
    uint8_t destination[1] = {0};
    const tagLumoSize from = {2, 2}, to = {1, 1};
    const int called = resize && resize(kLumoScalingNearestNeighbor, 1, 8, source, from, 2, destination, to, 1) == 0;
    if (!called) fprintf(stderr, "resolve_symbols: LumoMathResize through dlsym failed\n");
    dlclose(library);

    printf("resolve_symbols: %d names resolved, %d missing\n", resolved, missing);
    return missing == 0 && resolved > 0 && called ? 0 : 1;
}
