#include "network/exchange/PumpedPeer.h"

#include "network/exchange/pump.h"

#include <stdexcept>
#include <utility>

namespace exchangetest {

namespace {

void require(bool succeeded, const char* what)
{
    if (!succeeded)
        throw std::runtime_error(what);
}

std::string loopback(int last) { return "127.0.0." + std::to_string(last); }

}  // namespace

PumpedPeer PumpedPeer::unconnected() { return PumpedPeer(peer::PeerConnection::unconnected(loopback(1))); }

PumpedPeer PumpedPeer::connectTo(std::uint16_t port, int from)
{
    PumpedPeer peer(peer::PeerConnection::unconnected(loopback(from)));
    peer.connect(port);
    return peer;
}

void PumpedPeer::connect(std::uint16_t port) { connection_->connect(loopback(1), port); }

void PumpedPeer::close() { connection_.reset(); }

void PumpedPeer::reset()
{
    connection_->resetAtTheEnd();
    close();
}

void PumpedPeer::send(const std::string& bytes)
{
    std::size_t sent = 0;
    require(pumpUntil([&] {
                sent += trySend(bytes.substr(sent));
                return sent == bytes.size() || ended_;
            }),
            "send");
}

std::size_t PumpedPeer::trySend(const std::string& bytes)
{
    const std::optional<std::size_t> sent = connection_->trySend(bytes);
    ended_ = ended_ || !sent;
    return sent.value_or(0);
}

void PumpedPeer::sendSlowly(const std::string& bytes)
{
    for (const char byte : bytes) {
        send(std::string(1, byte));
        for (int round = 0; round < 3; ++round)
            QCoreApplication::processEvents();
    }
}

void PumpedPeer::readWhatIsThere()
{
    if (ended_)
        return;
    if (const auto bytes = connection_->arrived())
        arrived_ += *bytes;
    else
        ended_ = true;
}

std::string PumpedPeer::receive(std::size_t size)
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

std::string PumpedPeer::received()
{
    readWhatIsThere();
    return std::exchange(arrived_, {});
}

bool PumpedPeer::isClosed()
{
    return pumpUntil([&] {
        readWhatIsThere();
        arrived_.clear();
        return ended_;
    });
}

PumpedListener::PumpedListener(int at) : listener_(loopback(at)) {}

PumpedPeer PumpedListener::accept()
{
    require(pumpUntil([this] { return hasPending(); }), "accept");
    return PumpedPeer(listener_.accept().value());
}

}  // namespace exchangetest
