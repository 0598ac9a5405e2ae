// Symbol visibility for libpalm.so. The library is built with hidden
// visibility, so only what is marked here forms its binary interface.
#ifndef PALM_PALM_EXPORT_H_
#define PALM_PALM_EXPORT_H_

#if defined(__GNUC__)
#define PALM_EXPORT __attribute__((visibility("default")))
#else
#define PALM_EXPORT
#endif

#endif  // PALM_PALM_EXPORT_H_
