#include "network/exchange/RawPeer.h"

#include "network/exchange/pump.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace exchangetest {

namespace {

constexpr int kNone = -1;

void require(bool succeeded, const char* what)
{
    if (!succeeded)
        throw std::runtime_error(what);
}

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool isReadable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    return ::poll(&entry, 1, 0) == 1;
}

}  // namespace

RawPeer RawPeer::unconnected()
{
    RawPeer peer(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    require(peer.descriptor_ != kNone, "socket");
    return peer;
}

RawPeer RawPeer::connectTo(std::uint16_t port, int from)
{
    RawPeer peer = unconnected();
    sockaddr_in address = loopback(0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK - 1 + static_cast<std::uint32_t>(from));
    require(::bind(peer.descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "bind");
    peer.connect(port);
    return peer;
}

void RawPeer::connect(std::uint16_t port)
{
    const sockaddr_in address = loopback(port);
    require(::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "connect");
}

RawPeer::RawPeer(RawPeer&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, kNone)), ended_(other.ended_),
      arrived_(std::move(other.arrived_))
{}

RawPeer& RawPeer::operator=(RawPeer other) noexcept
{
    std::swap(descriptor_, other.descriptor_);
    std::swap(ended_, other.ended_);
    std::swap(arrived_, other.arrived_);
    return *this;
}

RawPeer::~RawPeer() { close(); }

void RawPeer::close()
{
    if (descriptor_ != kNone)
        ::close(std::exchange(descriptor_, kNone));
}

void RawPeer::reset()
{
    const linger atOnce{1, 0};
    ::setsockopt(descriptor_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    close();
}

void RawPeer::send(const std::string& bytes)
{
    std::size_t sent = 0;
    require(pumpUntil([&] {
                sent += trySend(bytes.substr(sent));
                return sent == bytes.size() || ended_;
            }),
            "send");
}

std::size_t RawPeer::trySend(const std::string& bytes)
{
    const ssize_t count = ::send(descriptor_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count < 0 && errno != EAGAIN)
        ended_ = true;
    return count > 0 ? static_cast<std::size_t>(count) : 0;
}

void RawPeer::sendSlowly(const std::string& bytes)
{
    const int on = 1;
    ::setsockopt(descriptor_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    for (const char byte : bytes) {
        send(std::string(1, byte));
        for (int round = 0; round < 3; ++round)
            QCoreApplication::processEvents();
    }
}

void RawPeer::readWhatIsThere()
{
    std::array<char, 65536> chunk{};
    while (!ended_) {
        const ssize_t count = ::recv(descriptor_, chunk.data(), chunk.size(), MSG_DONTWAIT);
        if (count < 0 && errno == EAGAIN)
            return;
        if (count <= 0)
            ended_ = true;
        else
            arrived_.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

std::string RawPeer::receive(std::size_t size)
{
    require(pumpUntil([&] {
                readWhatIsThere();
                return arrived_.size() >= size || ended_;
            }),
            "receive");
    const std::string result = arrived_.substr(0, size);
    arrived_.erase(0, result.size());
    return result;
}

std::string RawPeer::received()
{
    readWhatIsThere();
    return std::exchange(arrived_, {});
}

bool RawPeer::isClosed()
{
    return pumpUntil([&] {
        readWhatIsThere();
        arrived_.clear();
        return ended_;
    });
}

RawListener::RawListener(int at) : descriptor_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = loopback(0);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK - 1 + static_cast<std::uint32_t>(at));
    socklen_t size = sizeof address;
    constexpr int kBacklog = 64;
    require(::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), size) == 0, "bind");
    require(::listen(descriptor_, kBacklog) == 0, "listen");
    ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
}

RawListener::~RawListener() { ::close(descriptor_); }

bool RawListener::hasPending() const { return isReadable(descriptor_); }

RawPeer RawListener::accept()
{
    require(pumpUntil([this] { return hasPending(); }), "accept");
    return RawPeer(::accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC));
}

}  // namespace exchangetest
