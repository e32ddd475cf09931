#pragma once

#include "network/discovery/AbstractDiscoverer.h"
#include "network/exchange/DirectoryServer.h"
#include "network/exchange/ServiceDefinition.h"
#include "network/exchange/ServiceServer.h"
#include "network/exchange/ThreadCalls.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QList>
#include <QObject>
#include <QString>

#include <memory>

namespace eboNetworkExchange {

/// The servers of this device: its directory and its services. Lives on the network thread.
class NetworkExchange : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// @param addresses  of this device; from the system unless they are given
    NetworkExchange(const ebo::refptr<eboDiscoverer::AbstractDiscoverer>& discoverer,
                    std::shared_ptr<ThreadCalls> calls,
                    std::shared_ptr<eboDiscoverer::LocalAddresses> addresses =
                        std::make_shared<eboDiscoverer::LocalAddresses>());

    /// Listens for connections to the services, on ports that the system chooses, and lets the directory hear
    /// of devices. Once.
    void start(const QList<ServiceDefinition>& definitions);

    /// Listens for directory connections. @return the port that the system has chosen; 0 if it gave none
    quint16 listenForDirectory();

    /// Closes everything; all calls of other threads end.
    void shutDown();

    [[nodiscard]] const QList<ebo::refptr<ServiceServer>>& serviceServers() const { return serviceServers_; }
    /// Null until the start.
    [[nodiscard]] DirectoryServer* directoryServer() const { return directoryServer_.get(); }
    /// Connections of all kinds with other devices.
    [[nodiscard]] int socketCount() const;
    [[nodiscard]] bool offers(const QString& serviceId) const;

Q_SIGNALS:
    // Those of the directory, for whoever holds no more than this.
    void hostAdded(ebo::refptr<eboNetworkExchange::Host> host);
    void hostRemoved(ebo::refptr<eboNetworkExchange::Host> host);
    void numberOfDirectorySocketsChanged(int numberOfDirectorySockets);

private:
    void listenForService(const ServiceDefinition& definition);

    const ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer_;
    const std::shared_ptr<ThreadCalls> calls_;
    const std::shared_ptr<eboDiscoverer::LocalAddresses> addresses_;
    ebo::refptr<DirectoryServer> directoryServer_;  // null until the start
    QList<ebo::refptr<ServiceServer>> serviceServers_;
};

}  // namespace eboNetworkExchange
