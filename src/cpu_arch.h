// Which processor family the library is compiled for. Wide paths exist per
// family and are chosen at run time within it; code written for one family's
// instructions is compiled only for that family.
#ifndef PALM_CPU_ARCH_H_
#define PALM_CPU_ARCH_H_

#if defined(__x86_64__) || defined(__i386__)
#define PALM_ARCH_X86 1
#else
#define PALM_ARCH_X86 0
#endif

#if defined(__aarch64__)
#define PALM_ARCH_AARCH64 1
#else
#define PALM_ARCH_AARCH64 0
#endif

#endif  // PALM_CPU_ARCH_H_
