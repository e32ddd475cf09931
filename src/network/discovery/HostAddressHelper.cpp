#include "network/discovery/HostAddressHelper.h"

#include <utility>

namespace eboDiscoverer {

HostAddressHelper::HostAddressHelper(QHostAddress address)
    : address_(std::move(address)), timer_(std::make_unique<QTimer>())
{
    timer_->setObjectName(QStringLiteral("Lifespan Timer"));
    timer_->setSingleShot(true);
    timer_->setTimerType(Qt::PreciseTimer);
    connect(timer_.get(), &QTimer::timeout, this, &HostAddressHelper::onTimeout);
}

void HostAddressHelper::setPing(qint64 nanoseconds)
{
    if (ping_.exchange(nanoseconds) != nanoseconds)
        Q_EMIT pingChanged();
}

void HostAddressHelper::refresh()
{
    if (timer_)
        timer_->start(kLifespanMilliseconds);
}

void HostAddressHelper::retire()
{
    if (!timer_)
        return;
    timer_->stop();
    timer_->disconnect(this);
    timer_.release()->deleteLater();  // it may be the one that is just signalling
}

void HostAddressHelper::onTimeout()
{
    retire();
    Q_EMIT removeAddressHelper(ebo::refptr<HostAddressHelper>(this));
}

}  // namespace eboDiscoverer
