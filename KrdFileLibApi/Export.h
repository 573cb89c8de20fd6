#pragma once

// Marks a definition of the C interface as exported from the shared
// library. Everything else is built with hidden visibility, and the public
// header declares plain prototypes, so this mark on the definitions is what
// decides the export list.
#if defined(_WIN32)
#define KRD_EXPORT __declspec(dllexport)
#else
#define KRD_EXPORT __attribute__((visibility("default")))
#endif
