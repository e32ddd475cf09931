#pragma once

#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QHostAddress>
#include <QObject>
#include <QTimer>

#include <atomic>
#include <memory>

namespace eboDiscoverer {

/// One address of one device, which lasts for five seconds from each beacon that comes from it. Lives on the
/// discovery thread; the ping may be read and written on any.
class HostAddressHelper : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    static constexpr int kLifespanMilliseconds = 5000;
    static constexpr qint64 kUnknownPing = -1;

    /// Its life begins with `refresh`.
    explicit HostAddressHelper(QHostAddress address);

    [[nodiscard]] const QHostAddress& address() const { return address_; }

    /// The lowest round-trip time of the connections to this address, in nanoseconds; kUnknownPing at first.
    [[nodiscard]] qint64 ping() const { return ping_.load(); }

    /// Tells pingChanged if it is another one.
    void setPing(qint64 nanoseconds);

    /// A beacon has come: five more seconds.
    void refresh();

    /// Ends without a word, when the device itself has gone.
    void retire();

Q_SIGNALS:
    /// No beacon has come for five seconds.
    void removeAddressHelper(ebo::refptr<eboDiscoverer::HostAddressHelper> hostAddress);
    void pingChanged();

private Q_SLOTS:
    void onTimeout();

private:
    const QHostAddress address_;
    std::unique_ptr<QTimer> timer_;  // null from the end of its life on
    std::atomic<qint64> ping_{kUnknownPing};
};

}  // namespace eboDiscoverer
