#include "network/exchange/Network.h"

#include "runtime/logCategories.h"

#include <QMutexLocker>

#include <utility>

namespace eboNetworkExchange {

namespace {

constexpr unsigned long kPatienceMilliseconds = 1000;

void registerTypes()
{
    qRegisterMetaType<ebo::refptr<Host>>("ebo::refptr<eboNetworkExchange::Host>");
    qRegisterMetaType<ebo::refptr<Service>>("ebo::refptr<eboNetworkExchange::Service>");
}

}  // namespace

Network::Network(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer,
                 QList<ServiceDefinition> definitions)
    : helper_(std::make_unique<NetworkThreadHelper>(discoverer, std::move(definitions))),
      thread_(std::make_unique<ebo::HomeThread>()), discoverer_(std::move(discoverer))
{
    registerTypes();
    thread_->setObjectName(QStringLiteral("Network Exchange Thread"));
    if (!thread_->startIfPossible())
        qCWarning(ebo::log::network) << "Unable to start the network thread";
    helper_->moveToThread(thread_.get());
    connect(helper_.get(), &NetworkThreadHelper::hostAdded, this, &Network::onHostAdded,
            Qt::DirectConnection);
    connect(helper_.get(), &NetworkThreadHelper::hostRemoved, this, &Network::onHostRemoved,
            Qt::DirectConnection);
    connect(helper_.get(), &NetworkThreadHelper::numberOfDirectorySocketsChanged, this,
            &Network::numberOfDirectorySocketsChanged);
}

Network::~Network()
{
    if (QThread::currentThread() != thread_.get()) {
        end();
        return;
    }
    helper_->deinit();
    helper_.release()->deleteLater();
    // The thread cannot wait for itself: it goes when it has finished.
    connect(thread_.get(), &QThread::finished, thread_.get(), &QObject::deleteLater);
    thread_.release()->quit();
}

void Network::end()
{
    {
        const QMutexLocker locker(&mutex_);
        hosts_.clear();
    }
    if (!isUp())
        return;
    QMetaObject::invokeMethod(helper_.get(), &NetworkThreadHelper::deinit, Qt::BlockingQueuedConnection);
    thread_->quit();
    qCDebug(ebo::log::network) << "Waiting for thread to finish ...";
    if (thread_->wait(kPatienceMilliseconds)) {
        qCDebug(ebo::log::network) << "Network thread closed";
    } else {
        qCCritical(ebo::log::network) << "Network thread failed to exit!";
        thread_->wait();  // Qt ends a process that deletes a running thread
    }
}

void Network::start()
{
    if (!isUp())
        return;
    QMetaObject::invokeMethod(helper_.get(), &NetworkThreadHelper::init, Qt::BlockingQueuedConnection,
                              &directoryPort_);
    discoverer_->start(directoryPort_);
}

ebo::weakptr<eboDiscoverer::AbstractDiscoverer> Network::discoverer() const { return discoverer_; }

QList<ebo::refptr<Host>> Network::hosts() const
{
    const QMutexLocker locker(&mutex_);
    return hosts_;
}

void Network::onHostAdded(const ebo::refptr<Host>& host)
{
    {
        const QMutexLocker locker(&mutex_);
        if (hosts_.contains(host))
            return;
        hosts_.append(host);
    }
    Q_EMIT hostAdded(host);
}

void Network::onHostRemoved(const ebo::refptr<Host>& host)
{
    {
        const QMutexLocker locker(&mutex_);
        hosts_.removeOne(host);
    }
    Q_EMIT hostRemoved(host);
}

}  // namespace eboNetworkExchange
