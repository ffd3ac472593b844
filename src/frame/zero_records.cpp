// The exported all-zero records, kept in this order in the constant data.
#include "lumomath/LumoMath.h"

extern "C" {
LUMO_API extern const tagLumoPoint kLumoPointZero = {0, 0};
LUMO_API extern const tagLumoFPoint kLumoFPointZero = {0.0, 0.0};
LUMO_API extern const tagLumoSize kLumoSizeZero = {0, 0};
LUMO_API extern const tagLumoFSize kLumoFSizeZero = {0.0, 0.0};
LUMO_API extern const tagLumoRect kLumoRectZero = {0, 0, 0, 0};
LUMO_API extern const tagLumoFRect kLumoFRectZero = {0.0, 0.0, 0.0, 0.0};
}
