#include "palm/recognition/code_arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>

namespace palm_recognition {

namespace {

const std::align_val_t LINE{64};

// The first slab of a length holds a few runs; each further one as many as
// were cut before, up to a full slab, so that a store of a few templates
// takes little and a large one takes few slabs.
const std::size_t FIRST_SLAB_RUNS = 4;

std::size_t round_up(std::size_t n, std::size_t to) {
    return (n + to - 1) / to * to;
}

// `bytes` (a multiple of SLAB_BYTES) of zeroed memory aligned to SLAB_BYTES,
// so that the system can back it with huge pages.
unsigned char* map_aligned(std::size_t bytes) {
    std::size_t const align = code_arena::SLAB_BYTES;
    void* p =
        mmap(nullptr, bytes + align, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED)
        throw std::bad_alloc();
    std::uintptr_t const start = reinterpret_cast<std::uintptr_t>(p);
    std::uintptr_t const aligned = round_up(start, align);
    if (aligned > start)
        munmap(p, aligned - start);
    std::uintptr_t const tail = aligned + bytes;
    if (start + bytes + align > tail)
        munmap(reinterpret_cast<void*>(tail), start + bytes + align - tail);
    unsigned char* const base = reinterpret_cast<unsigned char*>(aligned);
    // Advice only: where huge pages are off the slab works as it is.
    madvise(base, bytes, MADV_HUGEPAGE);
    return base;
}

}  // namespace

code_arena::~code_arena() {
    clear();
}

unsigned char* code_arena::new_slab(run_class& c, std::size_t run_bytes) {
    std::size_t const full = std::max<std::size_t>(1, SLAB_BYTES / run_bytes);
    std::size_t const runs = std::min(full, std::max(FIRST_SLAB_RUNS, c.handed_out));
    std::size_t const bytes = runs * run_bytes;
    if (slabs_.size() == slabs_.capacity())
        slabs_.reserve(2 * slabs_.size() + 16);
    slab s;
    if (runs == full) {
        s.bytes = round_up(bytes, SLAB_BYTES);
        s.base = map_aligned(s.bytes);
        s.mapped = true;
        mapped_bytes_ += s.bytes;
    } else {
        s.bytes = bytes;
        s.base = static_cast<unsigned char*>(::operator new(bytes, LINE));
        s.mapped = false;
    }
    slabs_.push_back(s);
    slab_bytes_ += s.bytes;
    c.next = s.base;
    c.end = s.base + bytes;
    return s.base;
}

unsigned char* code_arena::allocate(int codes) {
    std::size_t const bytes = static_cast<std::size_t>(codes) * CODE_BYTES;
    run_class& c = classes_[codes];
    unsigned char* run = c.free;
    if (run != nullptr) {
        std::memcpy(&c.free, run, sizeof run);
    } else {
        if (c.next == nullptr || static_cast<std::size_t>(c.end - c.next) < bytes)
            new_slab(c, bytes);
        run = c.next;
        c.next += bytes;
        ++c.handed_out;
    }
    run_bytes_ += bytes;
    return run;
}

void code_arena::release(unsigned char* run, int codes) {
    if (run == nullptr)
        return;
    auto const it = classes_.find(codes);
    if (it == classes_.end())
        return;
    std::memcpy(run, &it->second.free, sizeof run);
    it->second.free = run;
    run_bytes_ -= static_cast<std::size_t>(codes) * CODE_BYTES;
}

void code_arena::clear() {
    for (slab const& s : slabs_) {
        if (s.mapped)
            munmap(s.base, s.bytes);
        else
            ::operator delete(s.base, LINE);
    }
    slabs_.clear();
    classes_.clear();
    slab_bytes_ = 0;
    run_bytes_ = 0;
    mapped_bytes_ = 0;
}

}  // namespace palm_recognition
