#pragma once

#include <QElapsedTimer>
#include <QHash>
#include <QHostAddress>
#include <QList>
#include <QUuid>

#include <deque>
#include <optional>

namespace eboDiscoverer {

/// Who may be in the table of hosts, so that one loud address cannot keep the others out of it: each address
/// has a share, and when the table is full, a newcomer takes the place of the youngest host of the address
/// that has the most. Belongs to the table's thread.
class HostShares {
public:
    /// Asks for a place for a host, which has none, first heard at this address.
    /// @param evicted  who loses theirs for it; nobody if it is left empty
    /// @return whether it has a place
    bool admit(const QUuid& uuid, const QHostAddress& origin, std::optional<QUuid>& evicted);

    /// It has gone by silence.
    void remove(const QUuid& uuid);

    /// It said goodbye. Its place stays taken for as long as silence would have needed: otherwise an address
    /// could let any number of hosts come and go.
    void removeAfterFarewell(const QUuid& uuid);

private:
    struct Farewell {
        qint64 until;  // milliseconds on clock_
        QHostAddress origin;
    };

    void forgetOldFarewells();
    [[nodiscard]] int sizeOf(const QHostAddress& origin) const;
    [[nodiscard]] QHostAddress largestOrigin() const;

    QHash<QUuid, QHostAddress> origins_;
    QHash<QHostAddress, QList<QUuid>> hosts_;  // of each address, in order of arrival
    QHash<QHostAddress, int> leaving_;         // farewells of each address
    std::deque<Farewell> farewells_;           // oldest first
    QElapsedTimer clock_;
};

}  // namespace eboDiscoverer
