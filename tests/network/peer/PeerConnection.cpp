#include "network/peer/PeerConnection.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <utility>

namespace peer {
namespace {

constexpr int kGuardSeconds = 60;

int makeSocket(const testsupport::NetworkNamespace& place)
{
    const testsupport::NetworkNamespace::Visit visit(place);
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

sockaddr_in socketAddress(const std::string& address, std::uint16_t port)
{
    sockaddr_in result{};
    result.sin_family = AF_INET;
    result.sin_port = htons(port);
    inet_pton(AF_INET, address.c_str(), &result.sin_addr);
    return result;
}

}  // namespace

PeerConnection::PeerConnection(int socket) : socket_(socket)
{
    const timeval guard{kGuardSeconds, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &guard, sizeof guard);
    setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &guard, sizeof guard);
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

PeerConnection::PeerConnection(const testsupport::NetworkNamespace& place, const std::string& address,
                               std::uint16_t port)
    : PeerConnection(makeSocket(place))
{
    connect(address, port);
}

PeerConnection PeerConnection::unconnected(const std::string& from)
{
    PeerConnection connection(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in own = socketAddress(from, 0);
    if (bind(connection.socket_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
        throw std::runtime_error("cannot be at " + from + ": " + std::strerror(errno));
    return connection;
}

void PeerConnection::connect(const std::string& address, std::uint16_t port) const
{
    const sockaddr_in target = socketAddress(address, port);
    if (::connect(socket_, reinterpret_cast<const sockaddr*>(&target), sizeof target) != 0)
        throw std::runtime_error("cannot connect to " + address + ": " + std::strerror(errno));
}

PeerConnection::~PeerConnection()
{
    if (socket_ >= 0)
        close(socket_);
}

PeerConnection::PeerConnection(PeerConnection&& other) noexcept : socket_(std::exchange(other.socket_, -1)) {}

PeerConnection& PeerConnection::operator=(PeerConnection&& other) noexcept
{
    std::swap(socket_, other.socket_);
    return *this;
}

void PeerConnection::send(const Bytes& bytes) const
{
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t step = ::send(socket_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (step < 0)
            throw std::runtime_error(std::string("cannot send: ") + std::strerror(errno));
        sent += static_cast<std::size_t>(step);
    }
}

std::optional<std::size_t> PeerConnection::trySend(const Bytes& bytes) const
{
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0)
        return static_cast<std::size_t>(sent);
    return errno == EAGAIN ? std::optional<std::size_t>(0) : std::nullopt;
}

void PeerConnection::sendBytewise(const Bytes& bytes) const
{
    for (const char octet : bytes)
        send(Bytes(1, octet));
}

Bytes PeerConnection::receive(std::size_t size) const
{
    Bytes bytes(size, '\0');
    std::size_t received = 0;
    while (received < size) {
        const ssize_t step = recv(socket_, bytes.data() + received, size - received, 0);
        if (step <= 0)
            break;
        received += static_cast<std::size_t>(step);
    }
    bytes.resize(received);
    return bytes;
}

std::optional<Bytes> PeerConnection::arrived() const
{
    Bytes bytes;
    std::array<char, 65536> piece{};
    for (;;) {
        const ssize_t step = recv(socket_, piece.data(), piece.size(), MSG_DONTWAIT);
        if (step > 0)
            bytes.append(piece.data(), static_cast<std::size_t>(step));
        else if (step < 0 && (errno == EAGAIN || errno == EINTR))
            return bytes;
        else if (bytes.empty())
            return std::nullopt;
        else
            return bytes;  // the end is met again next time
    }
}

void PeerConnection::resetAtTheEnd() const
{
    const linger atOnce{1, 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

void PeerConnection::hangUp() const { shutdown(socket_, SHUT_RDWR); }

bool PeerConnection::isClosedByPeer() const
{
    std::array<char, 4096> dropped{};
    ssize_t step = 0;
    do
        step = recv(socket_, dropped.data(), dropped.size(), 0);
    while (step > 0);
    return step == 0 || errno == ECONNRESET;
}

}  // namespace peer
