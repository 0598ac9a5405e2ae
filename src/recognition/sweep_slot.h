// One user name of the store and the template stored under it. The store
// keeps it beside the interned name, so that a partition reaches it by a
// pointer taken when the user was assigned instead of a search per user and
// probe. The codes themselves lie in the store's code runs, each held once:
// the print codes that a coarse stage samples in one run, so that a search
// over many users reads them in order, and every other code in a second run.
#ifndef PALM_RECOGNITION_SWEEP_SLOT_H_
#define PALM_RECOGNITION_SWEEP_SLOT_H_

#include <cstddef>
#include <string>

namespace palm_recognition {

// True when some coarse stage compares only cells 0, 5, 10, ... of a template
// of this many cells: the search on the calling thread for T mod 5 above 1,
// the search on the workers for T from 10 on that is a multiple of 5.
inline bool sweep_samples_every_fifth(int cells) {
    return cells % 5 > 1 || (cells > 9 && cells % 5 == 0);
}

struct sweep_slot {
    static const std::size_t CODE_BYTES = 384;

    std::string const* name = nullptr;
    // Whether the name has a template; a template of no cells is one too.
    bool stored = false;
    int cells = 0;
    // The print codes of cells 0, 5, 10, ... one after another, when a
    // coarse stage compares only those; otherwise null.
    unsigned char* sampled_prints = nullptr;
    int sampled = 0;  // codes in that run
    // The other print codes in the order of their cells, then the vein codes
    // of all cells in order.
    unsigned char* codes = nullptr;

    int size() const { return cells; }
    // Codes in the second run.
    int other_codes() const { return 2 * cells - sampled; }

    // The print code of cell k, 0 <= k < cells.
    unsigned char const* print(int k) const {
        if (sampled == 0)
            return codes + static_cast<std::size_t>(k) * CODE_BYTES;
        if (k % 5 == 0)
            return sampled_prints + static_cast<std::size_t>(k / 5) * CODE_BYTES;
        // Cells 0, 5, ..., 5 * (k / 5) lie in the sampled run.
        return codes + static_cast<std::size_t>(k - k / 5 - 1) * CODE_BYTES;
    }
    // The vein code of cell k, 0 <= k < cells.
    unsigned char const* vein(int k) const {
        return codes + static_cast<std::size_t>(cells - sampled + k) * CODE_BYTES;
    }
};

}  // namespace palm_recognition

#endif  // PALM_RECOGNITION_SWEEP_SLOT_H_
