#pragma once

#include <QHostAddress>
#include <QList>
#include <QNetworkInterface>
#include <QObject>
#include <QTimer>

#include <functional>
#include <optional>

namespace eboDiscoverer {

/// An address of this device, and which part of it names its subnet.
struct LocalEntry {
    QHostAddress ip;
    QHostAddress netmask;
    QNetworkInterface interface {};  ///< That it belongs to.
};

/// All addresses of this device, loopback included. The system is asked once a turn of the event loop at the
/// most, however many ask here: under load that is what costs. Lives on one thread, which has an event loop.
///
/// A list that cannot be had, as without a free descriptor, is not the same as an empty one: nobody may take
/// it for the loss of every address.
class LocalAddresses : public QObject {
    Q_OBJECT

public:
    using Entries = std::optional<QList<LocalEntry>>;

    /// Where the list comes from: the system, unless a test says otherwise.
    using Source = std::function<Entries()>;

    explicit LocalAddresses(Source source = listOfSystem);

    /// The addresses as of this turn; nothing if they are not known.
    [[nodiscard]] const Entries& entries();

    /// Something has changed: the system is asked anew.
    void expire() { turn_.stop(); }

    /// What the system says at this moment; nothing if it does not answer.
    [[nodiscard]] static Entries listOfSystem();

private:
    const Source source_;
    Entries entries_;
    bool wasKnown_ = true;
    QTimer turn_;  // runs until the turn is over
};

}  // namespace eboDiscoverer
