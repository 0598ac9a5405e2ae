// The six oriented filters of the coder at once, on a path that uses wide
// registers where the processor has them. Results equal those of anigauss
// bit for bit: the arithmetic of each element is the same, only its order
// across independent lines differs. anigauss stays the reference.
#ifndef PALM_EXTRACTION_ANIGAUSS_FAST_H_
#define PALM_EXTRACTION_ANIGAUSS_FAST_H_

#include "palm/cpu_arch.h"

namespace palm_share {

// anigauss(src, dst + k * sizex * sizey, sizex, sizey, k, orderv, orderu)
// for k = 0 to 5; `dst` holds six planes. Chooses the widest path available.
void anigauss_six(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu);

// The same through the reference filters.
void anigauss_six_reference(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu);

#if PALM_ARCH_X86
// The AVX2 path itself, for tests; false (nothing written) where the
// processor lacks AVX2.
bool anigauss_six_avx2(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu);
#endif

#if PALM_ARCH_AARCH64
// The NEON path itself, for tests; every aarch64 processor runs it.
void anigauss_six_neon(const int* src, int* dst, int sizex, int sizey, int orderv, int orderu);
#endif

}  // namespace palm_share

#endif  // PALM_EXTRACTION_ANIGAUSS_FAST_H_
