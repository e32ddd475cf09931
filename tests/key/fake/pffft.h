#pragma once

#include <cstddef>

/// A stand-in for pffft where the library is not installed: the same calls, carried out in double precision.
/// It insists on what the real one asks for: multiples of 32, buffers from its own allocator.

struct PFFFT_Setup;

enum pffft_direction_t { PFFFT_FORWARD, PFFFT_BACKWARD };
enum pffft_transform_t { PFFFT_REAL, PFFFT_COMPLEX };

extern "C" {
PFFFT_Setup* pffft_new_setup(int N, pffft_transform_t transform);
void pffft_destroy_setup(PFFFT_Setup* setup);
void pffft_transform_ordered(PFFFT_Setup* setup, const float* input, float* output, float* work,
                             pffft_direction_t direction);
void* pffft_aligned_malloc(std::size_t nb_bytes);
void pffft_aligned_free(void* p);
}
