#include "network/exchange/NetworkExchange.h"

#include "runtime/logCategories.h"

#include <algorithm>
#include <utility>

namespace eboNetworkExchange {

NetworkExchange::NetworkExchange(const ebo::refptr<eboDiscoverer::AbstractDiscoverer>& discoverer,
                                 std::shared_ptr<ThreadCalls> calls,
                                 std::shared_ptr<eboDiscoverer::LocalAddresses> addresses)
    : discoverer_(discoverer), calls_(std::move(calls)), addresses_(std::move(addresses))
{}

void NetworkExchange::start(const QList<ServiceDefinition>& definitions)
{
    const ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer = discoverer_.promote();
    if (!discoverer)
        return;
    for (const ServiceDefinition& definition : definitions)
        listenForService(definition);
    directoryServer_ = ebo::makeRef<DirectoryServer>(discoverer->uuid(), ebo::weakptr<NetworkExchange>(this),
                                                     calls_, addresses_);
    DirectoryServer* const directory = directoryServer_.get();
    connect(discoverer.get(), &eboDiscoverer::AbstractDiscoverer::hostAdded, directory,
            &DirectoryServer::onHostAdded);
    connect(discoverer.get(), &eboDiscoverer::AbstractDiscoverer::hostRemoved, directory,
            &DirectoryServer::onHostRemoved);
    connect(directory, &DirectoryServer::hostAdded, this, &NetworkExchange::hostAdded);
    connect(directory, &DirectoryServer::hostRemoved, this, &NetworkExchange::hostRemoved);
    connect(directory, &DirectoryServer::numberOfDirectorySocketsChanged, this,
            &NetworkExchange::numberOfDirectorySocketsChanged);
    for (const auto& server : serviceServers_)
        connect(server.get(), &ServiceServer::newServiceRequest, directory,
                &DirectoryServer::onServiceRequest);
}

void NetworkExchange::listenForService(const ServiceDefinition& definition)
{
    const auto server = ebo::makeRef<ServiceServer>(definition.serviceId, definition.lowDelay);
    if (server->startListening())
        qCInfo(ebo::log::networkServer)
            << "ServiceServer" << definition.serviceId << "is listening on port:" << server->serverPort();
    else
        qCWarning(ebo::log::networkServer) << "Unable to start service:" << definition.serviceId;
    serviceServers_.append(server);
}

quint16 NetworkExchange::listenForDirectory()
{
    if (directoryServer_ && directoryServer_->startListening()) {
        qCInfo(ebo::log::networkServer)
            << "DirectoryServer is listening on port:" << directoryServer_->serverPort()
            << "address:" << directoryServer_->serverAddress();
        return directoryServer_->serverPort();
    }
    qCWarning(ebo::log::networkServer) << "Unable to start DirectoryServer";
    return 0;
}

void NetworkExchange::shutDown()
{
    calls_->close();
    if (const auto discoverer = discoverer_.promote(); discoverer && directoryServer_)
        disconnect(discoverer.get(), nullptr, directoryServer_.get(), nullptr);
    for (const auto& server : serviceServers_)
        server->stopListening();
    if (directoryServer_)
        directoryServer_->shutDown();
}

int NetworkExchange::socketCount() const
{
    return directoryServer_ ? directoryServer_->socketBudget().count() : 0;
}

bool NetworkExchange::offers(const QString& serviceId) const
{
    return std::any_of(serviceServers_.begin(), serviceServers_.end(),
                       [&serviceId](const auto& server) { return server->serviceId() == serviceId; });
}

}  // namespace eboNetworkExchange
