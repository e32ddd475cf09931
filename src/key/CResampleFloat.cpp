#include "key/CResampleFloat.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <numeric>

namespace {

using eboDsp::kWingLanes;
using eboDsp::kWingSlack;

/// The most bytes of weights that are worth their place: enough for every whole rate up to 49 kHz at quality
/// 5. The usual rates need 0.5 MB at most, which stays in a cache of the second level.
constexpr std::int64_t kLargestTable = 2 << 20;

/// Rows of the table for a number of phases: whole groups of outputs.
std::int64_t rowsFor(std::int64_t phases) { return std::lcm(phases, std::int64_t{kWingLanes}); }

}  // namespace

eboKey::Status CResampleFloat::create(std::unique_ptr<CResampleFloat>& instance, int inputRate,
                                      int outputRate, int quality, int maxBlock, int channels,
                                      eboDsp::VectorWidth width)
{
    instance.reset();
    if (channels != 1 || !isPossible(inputRate, outputRate, quality, maxBlock))
        return eboKey::kInvalidArgument;
    try {
        instance.reset(new CResampleFloat(inputRate, outputRate, quality, maxBlock, width));
        return eboKey::kOk;
    } catch (const std::bad_alloc&) {
        return eboKey::kOutOfMemory;
    }
}

CResampleFloat::CResampleFloat(int inputRate, int outputRate, int quality, int maxBlock,
                               eboDsp::VectorWidth width)
    : CResampleBase(inputRate, outputRate, quality, maxBlock), wingSums_(eboDsp::wingSumsFor(width)),
      historyFrames_(2 * wing()),
      buffer_(static_cast<std::size_t>(std::ptrdiff_t{historyFrames_} + maxBlock + 2 * kWingSlack))
{
    const std::int64_t rows = rowsFor(clock().phases());
    const std::int64_t groupBytes = eboDsp::groupWeights(wing()) * std::int64_t{sizeof(float)};
    if (rows / kWingLanes * groupBytes <= kLargestTable)
        tabulate(static_cast<int>(rows));
    else
        weights_.resize(static_cast<std::size_t>(eboDsp::groupWeights(wing())));
    reset();
}

void CResampleFloat::tabulate(int rows)
{
    offsets_.reserve(static_cast<std::size_t>(rows));
    const std::ptrdiff_t groupWeights = eboDsp::groupWeights(wing());
    weights_.resize(static_cast<std::size_t>(rows / kWingLanes * groupWeights));
    OutputClock row = clock();
    for (int i = 0; i < rows; ++i, row.advance(1)) {
        offsets_.push_back(static_cast<int>(row.frame()));
        float* const group = weights_.data() + i / kWingLanes * groupWeights;
        writeWeights(row.phase(), group + i % kWingLanes, 2 * kWingLanes, kWingLanes);
    }
}

void CResampleFloat::reset()
{
    std::fill(buffer_.begin(), buffer_.end(), 0.0f);
    // From here on frames are counted from the oldest in the history.
    restartClock();
    clock().rebase(-historyFrames_);
    row_ = 0;
}

int CResampleFloat::process(const float* in, int frames, float* out)
{
    if (frames <= 0)
        return 0;
    float* const history = buffer_.data() + kWingSlack;
    std::copy_n(in, frames, history + historyFrames_);

    const auto outputs = static_cast<int>(clock().outputsBefore(historyFrames_ + frames - wing()));
    if (isTabulated())
        makeTabulated(outputs, out);
    else
        makeUntabulated(outputs, out);

    std::copy(history + frames, history + frames + historyFrames_, history);
    clock().rebase(frames);
    return outputs;
}

void CResampleFloat::makeTabulated(int outputs, float* out)
{
    const int rows = static_cast<int>(offsets_.size());
    while (outputs > 0) {
        // Whole groups as far as the table goes, or what a block wants of a single one.
        const int lane = row_ % kWingLanes;
        const int groups = lane == 0 ? std::min(outputs, rows - row_) / kWingLanes : 0;
        const int count = groups > 0 ? groups * kWingLanes : std::min(outputs, kWingLanes - lane);
        const auto firstRow = static_cast<std::size_t>(row_ - lane);
        const int* const offsets = &offsets_[firstRow];
        const float* const weights = &weights_[firstRow * static_cast<std::size_t>(2 * wing())];
        const std::ptrdiff_t rowZero = kWingSlack + clock().frame() - offsets[lane];
        if (groups > 0)
            wingSums_(buffer_.data(), rowZero, offsets, groups, weights, wing(), gain(), out);
        else
            makePart(rowZero, offsets, weights, lane, count, out);
        clock().advance(count);
        row_ = (row_ + count) % rows;
        out += count;
        outputs -= count;
    }
}

void CResampleFloat::makeUntabulated(int outputs, float* out)
{
    std::array<int, kWingLanes> offsets{};
    while (outputs > 0) {
        const int count = std::min(outputs, kWingLanes);
        const std::int64_t first = clock().frame();
        for (std::size_t lane = 0; lane < static_cast<std::size_t>(count); ++lane, clock().advance(1)) {
            offsets[lane] = static_cast<int>(clock().frame() - first);
            writeWeights(clock().phase(), &weights_[lane], 2 * kWingLanes, kWingLanes);
        }
        makePart(kWingSlack + first, offsets.data(), weights_.data(), 0, count, out);
        out += count;
        outputs -= count;
    }
}

void CResampleFloat::makePart(std::ptrdiff_t origin, const int* offsets, const float* weights, int firstLane,
                              int count, float* out) const
{
    // Lanes that nobody asks for may have their place outside of the buffer: they look at an asked one's.
    std::array<int, kWingLanes> places{};
    places.fill(offsets[firstLane]);
    std::copy_n(offsets + firstLane, count, places.begin() + firstLane);
    std::array<float, kWingLanes> sums{};
    wingSums_(buffer_.data(), origin, places.data(), 1, weights, wing(), gain(), sums.data());
    std::copy_n(sums.begin() + firstLane, count, out);
}
