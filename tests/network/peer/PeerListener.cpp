#include "network/peer/PeerListener.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace peer {
namespace {

int makeSocket(const testsupport::NetworkNamespace& place)
{
    const testsupport::NetworkNamespace::Visit visit(place);
    return socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

}  // namespace

PeerListener::PeerListener(const testsupport::NetworkNamespace& place) : socket_(makeSocket(place))
{
    constexpr int kBacklog = 64;
    sockaddr_in own{};
    own.sin_family = AF_INET;
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

std::optional<PeerConnection> PeerListener::accept() const
{
    const int connection = accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC);
    if (connection < 0)
        return std::nullopt;
    return PeerConnection(connection);
}

}  // namespace peer
