#include "palm/extraction/anigauss_fast.h"

#include <cstring>
#include <vector>

#include "palm/extraction/anigauss.h"

namespace palm_share {

void anigauss_six_reference(const int* src, int* dst, int sizex, int sizey, int orderv,
                            int orderu) {
    if (src == nullptr || dst == nullptr || sizex < 1 || sizey < 1)
        return;
    const size_t plane = static_cast<size_t>(sizex) * sizey;
    // anigauss only reads its source; a copy keeps the const promise.
    std::vector<int> copy(src, src + plane);
    for (int k = 0; k < 6; ++k)
        anigauss(copy.data(), dst + k * plane, sizex, sizey, k, orderv, orderu);
}

void anigauss_six(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu) {
#if PALM_ARCH_X86
    if (anigauss_six_avx2(src, dst, sizex, sizey, orderv, orderu))
        return;
#endif
#if PALM_ARCH_AARCH64
    anigauss_six_neon(src, dst, sizex, sizey, orderv, orderu);
    return;
#endif
    anigauss_six_reference(src, dst, sizex, sizey, orderv, orderu);
}

}  // namespace palm_share
