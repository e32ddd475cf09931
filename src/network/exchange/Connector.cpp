#include "network/exchange/Connector.h"

#include "network/discovery/sameAddress.h"
#include "runtime/logCategories.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace eboNetworkExchange {

namespace {

using eboDiscoverer::sameAddress;
using eboDiscoverer::uniformAddress;

bool isSame(const Connector::Target& a, const Connector::Target& b)
{
    return a.port == b.port && sameAddress(a.pair.remote, b.pair.remote) &&
           sameAddress(a.pair.local, b.pair.local);
}

}  // namespace

Connector::Connector(SocketBudget& budget, MakeRoom makeRoom)
    : budget_(budget), makeRoom_(std::move(makeRoom)), again_(this)
{
    again_.setSingleShot(true);
    again_.setInterval(0);
    connect(&again_, &QTimer::timeout, this, &Connector::startWaiting);
}

Connector::~Connector() = default;

bool Connector::isKnown(const Order& order) const
{
    const auto isIt = [&order](const Wish& wish) {
        return wish.owner && isSame(wish.order.target, order.target);
    };
    return std::any_of(waiting_.begin(), waiting_.end(), isIt) ||
           std::any_of(attempts_.begin(), attempts_.end(),
                       [&isIt](const Attempt& attempt) { return isIt(attempt.wish); });
}

bool Connector::connectTo(Order order)
{
    if (isKnown(order))
        return false;
    const QHostAddress peer = uniformAddress(order.target.pair.remote);
    if (waiting_.size() >= kMostWaiting && !makeRoomToWait(peer))
        return true;
    const QObject* const owner = order.owner;
    waiting_.push_back({owner, std::move(order), peer});
    // When all attempts are taken, whose turn it is takes a look at all who wait: once a turn.
    if (underWay() < kMostAttempts)
        startWaiting();
    else
        again_.start();
    return true;
}

/// Drops a wish of the address that has the most of them, if this one has fewer.
bool Connector::makeRoomToWait(const QHostAddress& peer)
{
    QHash<QHostAddress, int> counts;
    for (const Wish& wish : waiting_)
        ++counts[wish.peer];
    const auto most = std::max_element(counts.cbegin(), counts.cend());
    if (most == counts.cend() || *most <= counts.value(peer) + 1)
        return false;
    const auto last = std::find_if(waiting_.rbegin(), waiting_.rend(),
                                   [&most](const Wish& wish) { return wish.peer == most.key(); });
    waiting_.erase(std::next(last).base());
    return true;
}

std::list<Connector::Wish>::iterator Connector::nextWish()
{
    waiting_.remove_if([](const Wish& wish) { return wish.owner.isNull(); });
    const auto urgency = [this](const Wish& wish) {
        return std::tuple(attemptsTo_.value(wish.peer), wish.order.heardSince);
    };
    return std::min_element(waiting_.begin(), waiting_.end(),
                            [&urgency](const Wish& a, const Wish& b) { return urgency(a) < urgency(b); });
}

void Connector::startWaiting()
{
    for (auto next = nextWish(); next != waiting_.end(); next = nextWish()) {
        if (underWay() >= kMostAttempts && !preempt(next->peer))
            return;
        Wish wish = std::move(*next);
        waiting_.erase(next);
        if (makeRoom_(wish.peer))
            start(std::move(wish));
    }
}

/// Ends the youngest attempt to the address that has the most, if that leaves it with no fewer than this one
/// gets by it.
bool Connector::preempt(const QHostAddress& peer)
{
    const auto most = std::max_element(attemptsTo_.cbegin(), attemptsTo_.cend());
    if (most == attemptsTo_.cend() || *most <= attemptsTo_.value(peer) + 1)
        return false;
    const QHostAddress richest = most.key();
    const auto last = std::find_if(attempts_.rbegin(), attempts_.rend(), [&richest](const Attempt& attempt) {
        return attempt.wish.peer == richest;
    });
    drop(std::next(last).base());
    return true;
}

void Connector::start(Wish wish)
{
    auto socket = std::make_unique<QTcpSocket>(this);
    const Target& target = wish.order.target;
    if (!socket->bind(target.pair.local, 0)) {
        qCWarning(ebo::log::networkDirectory) << "Unable to bind local address:" << target.pair.local;
        return;
    }
    QTcpSocket* const raw = socket.release();
    budget_.enter(raw, target.pair.remote);
    auto* const patience = new QTimer(raw);
    patience->setSingleShot(true);
    patience->setInterval(kPatience);
    connect(raw, &QTcpSocket::connected, this, [this, raw] { onConnected(raw); });
    connect(raw, &QTcpSocket::errorOccurred, this,
            [this, raw](QAbstractSocket::SocketError error) { onFailed(raw, error); });
    connect(patience, &QTimer::timeout, this,
            [this, raw] { onFailed(raw, QAbstractSocket::SocketTimeoutError); });
    const Target aim = target;
    ++attemptsTo_[wish.peer];
    attempts_.push_back({std::move(wish), raw, patience});
    patience->start();
    raw->connectToHost(aim.pair.remote, aim.port);
}

Connector::Attempts::iterator Connector::find(const QTcpSocket* socket)
{
    return std::find_if(attempts_.begin(), attempts_.end(),
                        [socket](const Attempt& attempt) { return attempt.socket == socket; });
}

void Connector::forget(Attempts::iterator attempt)
{
    const auto count = attemptsTo_.find(attempt->wish.peer);
    if (--*count == 0)
        attemptsTo_.erase(count);
    attempts_.erase(attempt);
}

void Connector::drop(Attempts::iterator attempt)
{
    QTcpSocket* const socket = attempt->socket;
    forget(attempt);
    disconnect(socket, nullptr, this, nullptr);
    budget_.leave(socket);
    socket->abort();
    socket->deleteLater();
    if (!waiting_.empty())
        again_.start();
}

void Connector::onConnected(QTcpSocket* socket)
{
    const auto attempt = find(socket);
    if (attempt == attempts_.end())
        return;
    const Wish wish = attempt->wish;
    if (!wish.owner) {
        drop(attempt);
        return;
    }
    attempt->patience->stop();
    forget(attempt);
    disconnect(socket, nullptr, this, nullptr);
    again_.start();
    wish.order.connected(socket);
}

void Connector::onFailed(QTcpSocket* socket, QAbstractSocket::SocketError error)
{
    const auto attempt = find(socket);
    if (attempt == attempts_.end())
        return;
    const Wish wish = attempt->wish;
    if (wish.owner)
        wish.order.failed(*socket, error);
    // Whoever heard of it may have given up everything.
    if (const auto left = find(socket); left != attempts_.end())
        drop(left);
}

void Connector::giveUp(const QObject* owner)
{
    waiting_.remove_if([owner](const Wish& wish) { return wish.order.owner == owner; });
    for (auto attempt = attempts_.begin(); attempt != attempts_.end();) {
        const auto next = std::next(attempt);
        if (attempt->wish.order.owner == owner)
            drop(attempt);
        attempt = next;
    }
}

void Connector::giveUpAll()
{
    waiting_.clear();
    while (!attempts_.empty())
        drop(attempts_.begin());
    again_.stop();
}

}  // namespace eboNetworkExchange
