#pragma once

#include "network/world/DeviceProcess.h"
#include "support/NamespaceTest.h"
#include "support/until.h"

#include <QString>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace world {

using testsupport::NetworkNamespace;
using testsupport::NetworkSwitch;
using testsupport::until;

/// A network of devices that are processes in namespaces.
class WorldTest : public testsupport::NamespaceTest {};

/// Two networks with one address each, 10.0.0.1 and 10.0.0.2, on one switch.
struct TwoPlaces {
    TwoPlaces()
    {
        wire.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
        wire.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.2/24")});
    }

    NetworkSwitch wire;
    NetworkNamespace a;
    NetworkNamespace b;
};

/// An established TCP connection, as the system sees it from one side.
struct TcpConnection {
    QString local;
    int localPort;
    QString remote;
    int remotePort;
};

/// All of a namespace.
[[nodiscard]] QList<TcpConnection> tcpConnections(const NetworkNamespace& place);

/// The pairs of addresses "local-remote" of the connections that have this port at one of their ends.
[[nodiscard]] QStringList waysOf(const QList<TcpConnection>& connections, int port);

/// Whether both devices have a connection that carries the service.
[[nodiscard]] inline bool areJoined(const DeviceProcess& one, const DeviceProcess& other)
{
    return one.isReadyFor(other) && other.isReadyFor(one);
}

}  // namespace world
