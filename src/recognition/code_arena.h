// Storage for the codes of stored templates: runs of 384-byte codes cut from
// slabs, each slab holding runs of one length only. Templates pushed one
// after another lie one after another, so a search over users in the order
// they were pushed streams through memory, and no code carries an allocation
// header of its own. A run freed by a new template of the same name, or by a
// deletion, serves the next run of its length. Not synchronised: the store
// changes it under its writers' lock only.
#ifndef PALM_RECOGNITION_CODE_ARENA_H_
#define PALM_RECOGNITION_CODE_ARENA_H_

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace palm_recognition {

class code_arena {
  public:
    static const std::size_t CODE_BYTES = 384;
    // The largest slab. Slabs of this size are laid on huge pages where the
    // system allows it: a million templates take twenty gigabytes, and with
    // small pages every search would also walk millions of page table
    // entries.
    static const std::size_t SLAB_BYTES = std::size_t(2) << 20;

    code_arena() = default;
    ~code_arena();
    code_arena(code_arena const&) = delete;
    code_arena& operator=(code_arena const&) = delete;

    // Room for `codes` codes, aligned to a cache line; codes >= 1. Throws
    // std::bad_alloc when no memory is left.
    unsigned char* allocate(int codes);
    // Gives back a run that allocate(codes) returned; null is ignored.
    void release(unsigned char* run, int codes);
    // Frees every slab; every run must have been given back or be forgotten.
    void clear();

    // Bytes of the slabs taken from the system, and of the runs handed out
    // and not given back.
    std::size_t slab_bytes() const { return slab_bytes_; }
    std::size_t run_bytes() const { return run_bytes_; }
    // The part of slab_bytes mapped from the system directly, which the
    // heap's own statistics do not see.
    std::size_t mapped_bytes() const { return mapped_bytes_; }

  private:
    struct slab {
        unsigned char* base;
        std::size_t bytes;
        bool mapped;  // from the system's page mapping, not the heap
    };
    // Everything about runs of one length.
    struct run_class {
        unsigned char* next = nullptr;  // the unused rest of the newest slab
        unsigned char* end = nullptr;
        unsigned char* free = nullptr;  // freed runs, linked through their first bytes
        std::size_t handed_out = 0;     // runs cut from slabs so far
    };

    unsigned char* new_slab(run_class& c, std::size_t run_bytes);

    std::unordered_map<int, run_class> classes_;
    std::vector<slab> slabs_;
    std::size_t slab_bytes_ = 0;
    std::size_t run_bytes_ = 0;
    std::size_t mapped_bytes_ = 0;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_CODE_ARENA_H_
