#pragma once

#include "runtime/refcounted.h"

#include <functional>
#include <utility>

namespace runtimetest {

/// A counted object that calls a function when it ends, on the thread where it ends.
class Probe : public ebo::refcounted {
public:
    explicit Probe(std::function<void()> onEnd = [] {}) : onEnd_(std::move(onEnd)) {}
    ~Probe() override { onEnd_(); }

private:
    std::function<void()> onEnd_;
};

}  // namespace runtimetest
