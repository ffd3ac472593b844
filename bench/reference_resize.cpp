#include "bench/reference_resize.h"

#include "pool/thread_pool.h"

namespace lumo::bench {

LumoResult PlainResize(const ResizeMethod& method, const ResizeRequest& request) {
    const PoolHold pool = HoldPool();
    return method.plain(request);
}

}  // namespace lumo::bench
