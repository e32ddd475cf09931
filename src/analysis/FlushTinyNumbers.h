#pragma once

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace analysis {

/// While it lives, floats of this thread that are too small for full precision (below 1.2e-38) count as 0,
/// as operands and as results.
///
/// Filters and averages fade into such numbers in every digital silence, and processors compute with them up
/// to a hundred times slower. What is lost is far below what any result here can show: a level above 1e-14
/// does not change by it. Every x86-64 processor does it alike, so results stay the same everywhere.
class FlushTinyNumbers {
public:
#if defined(__SSE2__)
    FlushTinyNumbers() : before_(_mm_getcsr()) { _mm_setcsr(before_ | kFlushResults | kOperandsAreZero); }
    ~FlushTinyNumbers() { _mm_setcsr(before_); }
#else
    FlushTinyNumbers() = default;
#endif
    FlushTinyNumbers(const FlushTinyNumbers&) = delete;
    FlushTinyNumbers& operator=(const FlushTinyNumbers&) = delete;

private:
#if defined(__SSE2__)
    static constexpr unsigned kFlushResults = 0x8000;
    static constexpr unsigned kOperandsAreZero = 0x0040;
    const unsigned before_;
#endif
};

}  // namespace analysis
