#pragma once

#include "analysis/ITransientDetection.h"

#include <utility>

/// A transient detection whose onsets are given, to test what comes after it.
class FixedTransients : public ITransientDetection {
public:
    explicit FixedTransients(TransientMap onsets) : onsets_(std::move(onsets)) {}

    void process(const float*, std::uint32_t, std::uint64_t, RmsInterface*) override {}
    [[nodiscard]] std::uint32_t getFrameSize() const override { return 70; }
    [[nodiscard]] const TransientMap& getTransients() const override { return onsets_; }

private:
    TransientMap onsets_;
};
