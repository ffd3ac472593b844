// Splitting a kernel's rows into one contiguous band per worker thread.
//
// A band is worked top to bottom by one task, so a row may reuse what the
// band's previous row produced, and a task's scratch memory can be one slice
// of a block the kernel obtained on the calling thread before any task ran.
// Small jobs stay in one band, run by the calling thread, and start no
// worker thread (thread_pool.h): starting and joining the pool's threads
// would cost a small job more than splitting it saves.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pool/thread_pool.h"

namespace lumo {

class RowBands {
public:
    /// Work, in bytes of memory traffic or the equivalent in arithmetic, below
    /// which a band is not worth a thread of its own. A call that splits
    /// starts the pool's threads and joins them before it returns, about
    /// 100 microseconds on a busy 2-core x86-64 machine. There, for every
    /// method and scale measured, two bands began to beat one between 4 and
    /// 9 million units (one band then taking 250-500 microseconds; the table
    /// is in bench/RESULTS.md), so two bands start at 6 MiB. Each kernel
    /// counts its work in these units, calibrated in the same runs.
    static constexpr uint64_t kWorkPerBand = uint64_t{3} << 20;

    /// Takes a hold on the pool for the bands' lifetime, so that asking for the
    /// thread count and running the bands start the pool only once. `work` is
    /// the whole job's size in the unit of kWorkPerBand; no rows make no bands.
    RowBands(uint32_t rows, uint64_t work) : m_pool(HoldPool()), m_rows(rows), m_count(CountFor(rows, work)) {}

    uint32_t count() const { return m_count; }

    /// Runs body(band, firstRow, endRow) for every band, spread over the pool,
    /// and returns when all are done.
    template <class Body>
    void Run(const Body& body) const {
        parallel_for<int32_t>(0, static_cast<int32_t>(m_count), 1, [this, &body](int32_t band) {
            const auto b = static_cast<uint32_t>(band);
            body(b, Boundary(b), Boundary(b + 1));
        });
    }

private:
    uint32_t CountFor(uint32_t rows, uint64_t work) const {
        if (const uint32_t forced = testing::ForcedBandCount(); forced != 0) return std::min(rows, forced);
        return static_cast<uint32_t>(std::min<uint64_t>({rows, static_cast<uint64_t>(std::max(1, m_pool->threadCount())),
                                                          std::max<uint64_t>(1, work / kWorkPerBand)}));
    }

    uint32_t Boundary(uint32_t band) const {
        return static_cast<uint32_t>(static_cast<uint64_t>(m_rows) * band / m_count);
    }

    PoolHold m_pool;
    uint32_t m_rows;
    uint32_t m_count;
};

}  // namespace lumo
