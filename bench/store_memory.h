// Memory a template store takes, as the benchmarks count it: what the
// allocator and the store report in use, and what the kernel sees resident.
#ifndef PALM_BENCH_STORE_MEMORY_H_
#define PALM_BENCH_STORE_MEMORY_H_

#include <malloc.h>
#include <unistd.h>

#include <fstream>

#include "palm/feature/feature_block_pool.h"
#include "palm/recognition/rcg_environment.h"

namespace palm_bench {

// Bytes in use: the heap (small blocks and those mapped on their own), the
// feature block pool, and the store's directly mapped code storage.
inline double bytes_in_use(palm_recognition::rcg_environment const& env) {
    struct mallinfo2 const m = mallinfo2();
    return double(m.uordblks) + double(m.hblkhd) +
           double(palm_feature::feature_block_pool::blocks_in_use()) *
               palm_feature::feature_block_pool::BLOCK_SIZE +
           double(env.code_mapped_bytes());
}

// Resident memory of the process, from the kernel's view.
inline double resident_bytes() {
    std::ifstream statm("/proc/self/statm");
    double pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * double(sysconf(_SC_PAGESIZE));
}

}  // namespace palm_bench

#endif  // PALM_BENCH_STORE_MEMORY_H_
