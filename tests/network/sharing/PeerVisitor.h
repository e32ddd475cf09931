#pragma once

#include "network/peer/PeerDevice.h"
#include "network/peer/nfsWire.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sharing {

/// A device of another make that asks one that shares files, message by message. Messages that name the other
/// device are kept apart from the answers.
class PeerVisitor {
public:
    /// Joined when this returns; throws std::runtime_error if that fails.
    PeerVisitor(const testsupport::NetworkNamespace& place, const std::string& address,
                const peer::Uuid& uuid);

    void ask(const peer::Bytes& request) { device_.send(kLink, request); }
    void askBytes(const peer::Bytes& bytes) { device_.sendBytes(kLink, bytes); }

    /// The next answer, as it stands; empty if none comes.
    [[nodiscard]] peer::Bytes answer();

    /// ask and answer in one.
    [[nodiscard]] peer::Bytes answerTo(const peer::Bytes& request);

    /// Answers up to and with the first for this object and of this type; empty if that does not come.
    [[nodiscard]] std::vector<peer::Bytes> answersUpTo(std::uint32_t object, std::int32_t type);

private:
    static constexpr peer::PeerDevice::Link kLink = 0;

    peer::PeerDevice device_;
};

}  // namespace sharing
