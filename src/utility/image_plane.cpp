// Channel and plane lookup on the host's image object, and the pointer lists
// in which the host keeps its system-allocated plane buffers.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "lumomath/LumoUtility.h"

int32_t CLumoImage::getChannelIndexOfChunkyPixel(LumoImagePixelType type) const {
    if (layout != kLumoImageLayoutChunky) return -1;
    switch (kind) {
        case 3:  // blue, green, red
            if (type == kLumoPixelRed) return 2;
            if (type == kLumoPixelGreen) return 1;
            if (type == kLumoPixelBlue) return 0;
            return -1;
        case 2:
        case 5:
            if (type == kLumoPixelRed) return 0;
            if (type == kLumoPixelGreen) return 1;
            if (type == kLumoPixelBlue) return 2;
            if (type == kLumoPixelPlaneA && kind == 5) return 3;
            return -1;
        default:
            return -1;
    }
}

void* CLumoImage::getPlane(LumoImagePixelType type) const {
    if (layout == kLumoImageLayoutPlanar) {
        int index = -1;
        switch (kind) {
            case 1:
            case 6: case 7: case 8: case 9: case 10: case 11:
            case 12:
                index = 0;
                break;
            case 2:
                index = type == kLumoPixelRed ? 0 : type == kLumoPixelGreen ? 1 : type == kLumoPixelBlue ? 2 : -1;
                break;
            case 3:
                index = type == kLumoPixelBlue ? 0 : type == kLumoPixelGreen ? 1 : type == kLumoPixelRed ? 2 : -1;
                break;
            case 4:
                index = type == kLumoPixelPlaneA ? 0 : type == kLumoPixelPlaneB ? 1 : type == kLumoPixelPlaneC ? 2 : -1;
                break;
            case 5:
                index = type == kLumoPixelRed     ? 0
                        : type == kLumoPixelGreen ? 1
                        : type == kLumoPixelBlue  ? 2
                        : type == kLumoPixelPlaneA ? 3
                                                  : -1;
                break;
            default:
                break;
        }
        return index < 0 ? nullptr : plane[index];
    }
    switch (kind) {
        case 2:
        case 3:
        case 5: {
            const int32_t channel = getChannelIndexOfChunkyPixel(type);
            const int32_t offset = (bitsPerSample / 8) * channel;
            // A nonsensical negative depth would point before the plane.
            if (channel < 0 || offset < 0 || plane[0] == nullptr) return nullptr;
            return static_cast<unsigned char*>(plane[0]) + offset;
        }
        case 1:
        case 12:
            return plane[0];
        default:
            return nullptr;
    }
}

bool __hasNULLPointer(std::vector<void*>& list) {
    return std::find(list.begin(), list.end(), nullptr) != list.end();
}

void __releasePointerList(std::vector<void*>& list) {
    for (void*& p : list) {
        if (p != nullptr) {
            std::free(p);
            p = nullptr;
        }
    }
}
