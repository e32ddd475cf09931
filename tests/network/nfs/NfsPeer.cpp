#include "network/nfs/NfsPeer.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <sys/socket.h>

namespace nfstest {

using peer::Bytes;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int kNone = -1;
constexpr std::chrono::minutes kHang{1};

}  // namespace

NfsPeer::NfsPeer(NfsPeer&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, kNone)), ended_(other.ended_),
      arrived_(std::move(other.arrived_))
{}

NfsPeer::~NfsPeer() { close(); }

void NfsPeer::close()
{
    if (descriptor_ != kNone)
        ::close(std::exchange(descriptor_, kNone));
}

void NfsPeer::send(const Bytes& payload) const { sendRaw(peer::nfs::packet(payload)); }

void NfsPeer::sendRaw(const Bytes& bytes) const
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(descriptor_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            throw std::runtime_error("our device has closed the connection");
        sent += static_cast<std::size_t>(count);
    }
}

bool NfsPeer::fill(std::size_t size, Clock::time_point giveUp)
{
    while (arrived_.size() < size && !ended_) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(giveUp - Clock::now());
        pollfd entry{descriptor_, POLLIN, 0};
        if (::poll(&entry, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0))) <= 0)
            return false;
        std::array<char, 65536> chunk{};
        const ssize_t count = ::recv(descriptor_, chunk.data(), chunk.size(), 0);
        if (count <= 0)
            ended_ = true;
        else
            arrived_.append(chunk.data(), static_cast<std::size_t>(count));
    }
    return arrived_.size() >= size;
}

Bytes NfsPeer::next()
{
    auto payload = nextWithin(kHang);
    if (!payload)
        throw std::runtime_error("no packet came");
    return *std::move(payload);
}

std::optional<Bytes> NfsPeer::nextWithin(std::chrono::milliseconds patience)
{
    constexpr std::size_t kSizeBytes = 4;
    const auto giveUp = Clock::now() + patience;
    if (!fill(kSizeBytes, giveUp))
        return std::nullopt;
    const std::size_t size = peer::nfs::Parser(arrived_.substr(0, kSizeBytes)).number(kSizeBytes);
    if (!fill(kSizeBytes + size, giveUp))
        return std::nullopt;
    Bytes payload = arrived_.substr(kSizeBytes, size);
    arrived_.erase(0, kSizeBytes + size);
    return payload;
}

bool NfsPeer::isClosed()
{
    const auto giveUp = Clock::now() + kHang;
    while (!ended_ && Clock::now() < giveUp) {
        arrived_.clear();
        fill(1, giveUp);
    }
    return ended_;
}

}  // namespace nfstest
