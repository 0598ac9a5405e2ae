#include "palm/feature/feature_block_pool.h"

#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>

#include "palm/feature/single_feature.h"

namespace palm_feature {

namespace {

// Address space only: pages are committed when first written.
const std::size_t RESERVED_BYTES = std::size_t(16) << 30;

struct pool_state {
    std::once_flag once;
    std::atomic<std::uintptr_t> begin{0};
    std::atomic<std::uintptr_t> end{0};
    std::mutex mutex;
    unsigned char* next = nullptr;  // first never-used block
    unsigned char* free_list = nullptr;
    std::size_t in_use = 0;
};

// Never destroyed: stored templates are freed by other static destructors at
// exit, in an order that this object cannot know.
pool_state& state() {
    static pool_state* const s = new pool_state;
    return *s;
}

void reserve(pool_state& s) {
    void* p = mmap(nullptr, RESERVED_BYTES, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (p == MAP_FAILED)
        return;  // the pool stays empty; adopt() then refuses
    s.next = static_cast<unsigned char*>(p);
    s.end.store(reinterpret_cast<std::uintptr_t>(p) + RESERVED_BYTES, std::memory_order_release);
    s.begin.store(reinterpret_cast<std::uintptr_t>(p), std::memory_order_release);
}

unsigned char* allocate(pool_state& s) {
    std::call_once(s.once, reserve, std::ref(s));
    std::lock_guard<std::mutex> lock(s.mutex);
    unsigned char* p = nullptr;
    if (s.free_list) {
        p = s.free_list;
        std::memcpy(&s.free_list, p, sizeof(p));
    } else if (s.next &&
               reinterpret_cast<std::uintptr_t>(s.next) + feature_block_pool::BLOCK_SIZE <=
                   s.end.load(std::memory_order_relaxed)) {
        p = s.next;
        s.next += feature_block_pool::BLOCK_SIZE;
    }
    if (p)
        ++s.in_use;
    return p;
}

}  // namespace

bool feature_block_pool::adopt(single_feature& f) {
    if (!f.data || owns(f.data))
        return f.data != nullptr;
    unsigned char* p = allocate(state());
    if (!p)
        return false;
    std::memcpy(p, f.data, BLOCK_SIZE);
    delete[] f.data;
    f.data = p;
    return true;
}

bool feature_block_pool::owns(unsigned char const* p) {
    pool_state& s = state();
    std::uintptr_t const a = reinterpret_cast<std::uintptr_t>(p);
    return a >= s.begin.load(std::memory_order_acquire) &&
           a < s.end.load(std::memory_order_acquire);
}

void feature_block_pool::release(unsigned char* p) {
    pool_state& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    std::memcpy(p, &s.free_list, sizeof(p));
    s.free_list = p;
    --s.in_use;
}

std::size_t feature_block_pool::blocks_in_use() {
    pool_state& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.in_use;
}

}  // namespace palm_feature
