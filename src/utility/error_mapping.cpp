#include <cerrno>
#include <cstdint>

#include "lumomath/LumoMath.h"

extern "C" LUMO_API uint32_t ConvertUnixErrorToLumoError(int32_t error, uint32_t fallback) {
    return (error == EPERM || error == EACCES) ? kLumoResultAccessDenied : fallback;
}
