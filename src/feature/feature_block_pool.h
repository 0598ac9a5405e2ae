// Header-free storage for the 384-byte code blocks of stored templates.
//
// A template store of 100,000 users holds five million code blocks; with the
// general allocator each one carries a 16-byte header, which alone is 4 % of
// the store. Blocks adopted into this pool come from one reserved address
// range instead, so ownership is a range test and needs no header. Blocks
// that were never adopted (everything outside the store) stay ordinary
// array-new blocks, so callers that manage a record's block themselves keep
// working.
#ifndef PALM_FEATURE_FEATURE_BLOCK_POOL_H_
#define PALM_FEATURE_FEATURE_BLOCK_POOL_H_

#include <cstddef>

namespace palm_feature {

class single_feature;

class feature_block_pool {
  public:
    static const std::size_t BLOCK_SIZE = 384;

    // Moves the contents of the feature's block into a pool block and frees
    // the old one. When the pool cannot give a block the feature is left as
    // it was; the result is then false.
    static bool adopt(single_feature& f);

    // True when the block lies in the pool's range.
    static bool owns(unsigned char const* p);

    // Returns a pool block for reuse.
    static void release(unsigned char* p);

    // Blocks handed out and not yet released; for tests and benchmarks.
    static std::size_t blocks_in_use();
};

}  // namespace palm_feature

#endif  // PALM_FEATURE_FEATURE_BLOCK_POOL_H_
