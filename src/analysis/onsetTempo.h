#pragma once

#include "analysis/TempoRange.h"
#include "analysis/TransientMap.h"

/// The tempo that most distances between onsets suggest: the weighted mean, within 2 BPM of its peak, of a
/// histogram of the onsets' tempi folded into the range, all of one weight. In BPM; 0 if the range is too
/// wide for a bin to hold anything of such a window.
[[nodiscard]] float coarseTempo(const TransientMap& onsets, const TempoRange& range);

/// The mean of all folded tempi nearer than 1 BPM to `coarse`, weighted by the onsets' strengths, or the
/// middle of the range if there is none.
[[nodiscard]] float meanTempoNear(float coarse, const TransientMap& onsets, const TempoRange& range);
