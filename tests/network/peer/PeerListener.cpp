#include "network/peer/PeerListener.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace peer {
namespace {

int makeSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); }

int makeSocket(const testsupport::NetworkNamespace& place)
{
    const testsupport::NetworkNamespace::Visit visit(place);
    return makeSocket();
}

}  // namespace

PeerListener::PeerListener(const testsupport::NetworkNamespace& place)
    : PeerListener(makeSocket(place), INADDR_ANY)
{}

PeerListener::PeerListener(const std::string& address)
    : PeerListener(makeSocket(), inet_addr(address.c_str()))
{}

PeerListener::PeerListener(int socket, std::uint32_t address) : socket_(socket)
{
    constexpr int kBacklog = 64;
    sockaddr_in own{};
    own.sin_family = AF_INET;
    own.sin_addr.s_addr = address;  // in the order of the network
    socklen_t size = sizeof own;
    if (bind(socket_, reinterpret_cast<const sockaddr*>(&own), size) != 0 || listen(socket_, kBacklog) != 0 ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&own), &size) != 0) {
        const int error = errno;
        close(socket_);
        throw std::runtime_error(std::string("cannot listen: ") + std::strerror(error));
    }
    port_ = ntohs(own.sin_port);
}

PeerListener::~PeerListener() { close(socket_); }

bool PeerListener::hasPending() const
{
    pollfd entry{socket_, POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

std::optional<PeerConnection> PeerListener::accept() const
{
    const int connection = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0)
        return std::nullopt;
    return PeerConnection(connection);
}

}  // namespace peer
