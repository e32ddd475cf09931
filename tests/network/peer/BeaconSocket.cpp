#include "network/peer/BeaconSocket.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace peer {
namespace {

constexpr int kGuardSeconds = 60;
constexpr std::size_t kLargestDatagram = 65536;

sockaddr_in addressOf(const std::string& ip, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, ip.c_str(), &result.sin_addr);
    return result;
}

void check(bool good, const char* what)
{
    if (!good)
        throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

int makeSocket(const testsupport::NetworkNamespace& place)
{
    const testsupport::NetworkNamespace::Visit visit(place);
    return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

std::chrono::system_clock::time_point arrivalOf(msghdr& message)
{
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr; part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_TIMESTAMP)
            continue;
        timeval when{};
        std::memcpy(&when, CMSG_DATA(part), sizeof when);
        return std::chrono::system_clock::time_point(std::chrono::seconds(when.tv_sec) +
                                                     std::chrono::microseconds(when.tv_usec));
    }
    return {};
}

}  // namespace

BeaconSocket::BeaconSocket(const testsupport::NetworkNamespace& place, const std::string& address,
                           std::uint16_t port)
    : socket_(makeSocket(place))
{
    check(socket_ >= 0, "no socket");
    const int on = 1;
    setsockopt(socket_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
    setsockopt(socket_, SOL_SOCKET, SO_TIMESTAMP, &on, sizeof on);
    const timeval guard{kGuardSeconds, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &guard, sizeof guard);
    const sockaddr_in own = addressOf(address, port);
    check(bind(socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) == 0, "cannot bind");
}

BeaconSocket::~BeaconSocket() { close(socket_); }

void BeaconSocket::send(const Bytes& datagram, const std::string& to, std::uint16_t port) const
{
    const sockaddr_in target = addressOf(to, port);
    const ssize_t sent = sendto(socket_, datagram.data(), datagram.size(), 0,
                                reinterpret_cast<const sockaddr*>(&target), sizeof target);
    check(sent == static_cast<ssize_t>(datagram.size()), "cannot send a datagram");
}

std::optional<BeaconSocket::Heard> BeaconSocket::next() const { return receive(0); }

std::optional<BeaconSocket::Heard> BeaconSocket::nextWaiting() const { return receive(MSG_DONTWAIT); }

std::optional<BeaconSocket::Heard> BeaconSocket::receive(int flags) const
{
    Heard heard;
    heard.bytes.resize(kLargestDatagram);
    sockaddr_in from{};
    iovec part{heard.bytes.data(), heard.bytes.size()};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(timeval))> control{};
    msghdr message{};
    message.msg_name = &from;
    message.msg_namelen = sizeof from;
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket_, &message, flags);
    if (size < 0)
        return {};
    heard.bytes.resize(static_cast<std::size_t>(size));
    std::array<char, INET_ADDRSTRLEN> written{};
    heard.from = inet_ntop(AF_INET, &from.sin_addr, written.data(), written.size());
    heard.fromPort = ntohs(from.sin_port);
    heard.when = arrivalOf(message);
    return heard;
}

}  // namespace peer
