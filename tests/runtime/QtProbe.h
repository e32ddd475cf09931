#pragma once

#include "runtime/refcounted.h"

#include <QObject>

#include <functional>
#include <utility>

namespace runtimetest {

/// A counted QObject that calls a function when it ends, on the thread where it ends.
class QtProbe : public QObject, public ebo::refcounted {
public:
    explicit QtProbe(std::function<void()> onEnd = [] {}) : onEnd_(std::move(onEnd)) {}
    ~QtProbe() override { onEnd_(); }

private:
    std::function<void()> onEnd_;
};

}  // namespace runtimetest
