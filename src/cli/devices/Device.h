#pragma once

#include "network/exchange/Host.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QtGlobal>

#include <optional>

namespace tunesift::cli {

/// Another device of the network as it is at one moment.
struct Device {
    struct Service {
        QString id;
        bool isReady = false;  ///< There is a connection that carries it.
        bool operator==(const Service&) const = default;
    };

    QUuid uuid;
    QString name;
    QString application;
    QString version;
    QStringList addresses;  ///< IPv4 in its plain form.
    quint16 port = 0;       ///< Of its directory server; 0 if it has none.
    bool isConnected = false;
    int connections = 0;                ///< To its directory server, or from it to ours.
    std::optional<qint64> roundTripNs;  ///< Of the fastest connection; nothing until it has been measured.
    QList<Service> services;            ///< In the order of their ids.
    QStringList mounts;                 ///< Names of the directories that it shares.

    bool operator==(const Device&) const = default;
};

/// What is known of a device now. Any thread.
[[nodiscard]] Device deviceFrom(const eboNetworkExchange::Host& host);

/// Whether two moments of one device differ in more than the figure of the round trip, which never rests.
[[nodiscard]] bool isNews(const Device& before, const Device& after);

}  // namespace tunesift::cli
