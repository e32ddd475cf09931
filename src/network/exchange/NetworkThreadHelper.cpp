#include "network/exchange/NetworkThreadHelper.h"

#include "runtime/freeze/Controller.h"
#include "runtime/logCategories.h"

#include <array>
#include <cstdio>
#include <utility>

namespace eboNetworkExchange {

NetworkThreadHelper::NetworkThreadHelper(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer,
                                         QList<ServiceDefinition> definitions)
    : discoverer_(std::move(discoverer)), definitions_(std::move(definitions))
{}

quint16 NetworkThreadHelper::init()
{
    exchange_ = ebo::makeRef<NetworkExchange>(discoverer_, std::make_shared<ThreadCalls>());
    exchange_->start(definitions_);
    const DirectoryServer* const directory = exchange_->directoryServer();
    connect(directory, &DirectoryServer::hostAdded, this, &NetworkThreadHelper::hostAdded);
    connect(directory, &DirectoryServer::hostRemoved, this, &NetworkThreadHelper::hostRemoved);
    connect(directory, &DirectoryServer::numberOfDirectorySocketsChanged, this,
            &NetworkThreadHelper::numberOfDirectorySocketsChanged);
    if (ebo::log::networkThreadIndicator().isDebugEnabled())
        startIndicator();
    startProbe();
    return exchange_->listenForDirectory();
}

void NetworkThreadHelper::startIndicator()
{
    constexpr int kMilliseconds = 500;
    qCInfo(ebo::log::networkThreadIndicator) << "Starting thread indicator";
    indicatorTimer_ = std::make_unique<QTimer>();
    connect(indicatorTimer_.get(), &QTimer::timeout, this, [step = std::size_t{0}]() mutable {
        constexpr std::array kSpinner{'-', '\\', '|', '/'};
        std::printf("%c\b", kSpinner[step++ % kSpinner.size()]);
        std::fflush(stdout);
    });
    indicatorTimer_->start(kMilliseconds);
}

void NetworkThreadHelper::startProbe()
{
    constexpr int kTimeOutMilliseconds = 60000;
    probe_ = std::make_shared<eboFreezeDetector::TimerProbe>(QStringLiteral("Network"), kTimeOutMilliseconds);
    eboFreezeDetector::Controller::instance()->addProbe(probe_);
}

void NetworkThreadHelper::deinit()
{
    indicatorTimer_.reset();
    if (probe_) {
        probe_->stop();
        eboFreezeDetector::Controller::instance()->removeProbe(probe_);
        probe_.reset();
    }
    if (exchange_)
        exchange_->shutDown();
}

}  // namespace eboNetworkExchange
