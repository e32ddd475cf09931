#pragma once

#include "analysis/StatusCallbackInterface.h"

/// Counts nothing and never stops: for callers without an interest in progress.
class StatusCallbackDummy : public StatusCallbackInterface {
public:
    bool addProgress(float /*amount*/) override { return true; }
};
