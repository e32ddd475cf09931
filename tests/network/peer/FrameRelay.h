#pragma once

#include "support/NetworkNamespace.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace peer {

/// A cable between two namespaces that is long: every Ethernet frame takes its time, in both directions, and
/// some of them overtake others. Chance comes from a seed. Ends with the object.
class FrameRelay {
public:
    struct Character {
        std::chrono::milliseconds delay{0};   ///< Of every frame, at least.
        std::chrono::milliseconds jitter{0};  ///< So much more at most.
        std::uint32_t seed = 1;
    };

    /// One end of the cable: an interface "eth0" with this address, as in "10.0.0.1/24".
    struct End {
        const testsupport::NetworkNamespace& place;
        std::string address;
    };

    FrameRelay(const End& one, const End& other, Character character);
    ~FrameRelay();
    FrameRelay(const FrameRelay&) = delete;
    FrameRelay& operator=(const FrameRelay&) = delete;

private:
    void run();

    const Character character_;
    std::array<int, 2> taps_;
    int stop_;
    std::thread thread_;
};

}  // namespace peer
