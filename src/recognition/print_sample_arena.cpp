#include "palm/recognition/print_sample_arena.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace palm_recognition {

namespace {

const std::align_val_t LINE{64};

unsigned char* new_block(std::size_t bytes) {
    return static_cast<unsigned char*>(::operator new(bytes, LINE));
}

void delete_block(unsigned char* p) {
    ::operator delete(p, LINE);
}

}  // namespace

print_sample_arena::~print_sample_arena() {
    clear();
}

unsigned char* print_sample_arena::allocate(int codes) {
    std::size_t const bytes = static_cast<std::size_t>(codes) * CODE_BYTES;
    // A run longer than a chunk stands alone.
    if (bytes > CHUNK_BYTES)
        return new_block(bytes);
    auto const freed = free_.find(codes);
    if (freed != free_.end() && freed->second != nullptr) {
        unsigned char* run = freed->second;
        std::memcpy(&freed->second, run, sizeof run);
        return run;
    }
    if (next_ == nullptr || static_cast<std::size_t>(end_ - next_) < bytes) {
        if (chunks_.size() == chunks_.capacity())
            chunks_.reserve(std::max<std::size_t>(16, 2 * chunks_.capacity()));
        next_ = new_block(CHUNK_BYTES);
        end_ = next_ + CHUNK_BYTES;
        chunks_.push_back(next_);
    }
    unsigned char* run = next_;
    next_ += bytes;
    return run;
}

void print_sample_arena::release(unsigned char* run, int codes) {
    if (run == nullptr)
        return;
    if (static_cast<std::size_t>(codes) * CODE_BYTES > CHUNK_BYTES) {
        delete_block(run);
        return;
    }
    unsigned char*& head = free_[codes];
    std::memcpy(run, &head, sizeof head);
    head = run;
}

void print_sample_arena::clear() {
    for (unsigned char* chunk : chunks_)
        delete_block(chunk);
    chunks_.clear();
    free_.clear();
    next_ = end_ = nullptr;
}

}  // namespace palm_recognition
