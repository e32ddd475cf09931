#pragma once

#include "network/discovery/PeerBudget.h"

#include <QElapsedTimer>

namespace eboNetworkExchange {

/// What one connection may do in one turn of the event loop. One for each turn.
class TurnBudget {
public:
    TurnBudget() { clock_.start(); }

    /// Takes note of one thing more. @return false if it has to wait for the next turn
    [[nodiscard]] bool take()
    {
        using eboDiscoverer::PeerBudget;
        return ++count_ <= PeerBudget::kMessagesATurn &&
               (count_ % kLookEvery != 0 || clock_.nsecsElapsed() < PeerBudget::kNanosecondsATurn);
    }

private:
    static constexpr int kLookEvery = 8;  // at the clock, which is dear beside a small packet

    int count_ = 0;
    QElapsedTimer clock_;
};

}  // namespace eboNetworkExchange
