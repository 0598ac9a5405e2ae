// Storage for the runs of sampled print codes that the store keeps for the
// coarse stage of identification. Runs are cut one after another from large
// chunks, so templates pushed one after another lie one after another, and a
// search over users in the order they were pushed streams through memory. A
// run freed by a new template of the same name, or by a deletion, is kept
// for the next run of its length. Not synchronised: the store changes it
// under its writers' lock only.
#ifndef PALM_RECOGNITION_PRINT_SAMPLE_ARENA_H_
#define PALM_RECOGNITION_PRINT_SAMPLE_ARENA_H_

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace palm_recognition {

class print_sample_arena {
  public:
    static const std::size_t CODE_BYTES = 384;
    static const std::size_t CHUNK_BYTES = 64 * 1024;

    print_sample_arena() = default;
    ~print_sample_arena();
    print_sample_arena(print_sample_arena const&) = delete;
    print_sample_arena& operator=(print_sample_arena const&) = delete;

    // Room for `codes` codes, aligned to a cache line; codes >= 1.
    unsigned char* allocate(int codes);
    // Gives back a run that allocate(codes) returned.
    void release(unsigned char* run, int codes);
    // Frees every chunk; every run must have been given back or be forgotten.
    void clear();

  private:
    std::vector<unsigned char*> chunks_;
    unsigned char* next_ = nullptr;
    unsigned char* end_ = nullptr;
    // Freed runs by length, each list linked through the runs' first bytes.
    std::unordered_map<int, unsigned char*> free_;
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_PRINT_SAMPLE_ARENA_H_
