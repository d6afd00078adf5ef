#pragma once

// The library is built with hidden symbol visibility: only what a public header marks with
// TARVO_EXPORT (its classes and free functions) is exported from libtarvocore, and the
// code under src/ stays inside it.
#if defined(__GNUC__) || defined(__clang__)
#define TARVO_EXPORT __attribute__((visibility("default")))
#else
#define TARVO_EXPORT
#endif
