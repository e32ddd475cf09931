#include "network/discovery/DiscovererThread.h"

#include "network/discovery/Discoverer.h"
#include "network/discovery/discoveryPort.h"
#include "runtime/logCategories.h"

#include <QCoreApplication>
#include <QMutexLocker>

namespace eboDiscoverer {

DiscovererThread::DiscovererThread(Discoverer& discoverer) : discoverer_(discoverer)
{
    setObjectName(QStringLiteral("Network Discovery Thread"));
    moveToThread(this);
    connect(this, &QThread::started, this, &DiscovererThread::init);
    connect(this, &QThread::finished, this, &DiscovererThread::deinit);
}

void DiscovererThread::startAndWait()
{
    if (!startIfPossible())
        return;
    QMutexLocker locker(&mutex_);
    while (!hostController_ && isRunning())
        initialised_.wait(&mutex_);
}

void DiscovererThread::stopAndWait()
{
    if (!isRunning())
        return;
    quit();
    wait();
}

std::shared_ptr<HostController> DiscovererThread::hostController() const
{
    const QMutexLocker locker(&mutex_);
    return hostController_;
}

void DiscovererThread::init()
{
    const QMutexLocker locker(&mutex_);
    const QUuid uuid = discoverer_.uuid();
    hostController_ =
        std::make_shared<HostController>(discoverer_.organizationName(), discoverer_.applicationName(), uuid);
    receiver_ = std::make_unique<Receiver>();
    takeDiscoveryPort(QCoreApplication::arguments());
    const quint16 port = discoveryPort();
    receiver_->listen(port);

    sender_ =
        std::make_unique<Sender>(port, uuid, discoverer_.applicationId(), discoverer_.applicationVersion());
    sender_->setDirectoryPort(discoverer_.directoryPort());

    HostController* const controller = hostController_.get();
    connect(controller, &HostController::hostAdded, sender_.get(), &Sender::answerNewcomer);
    connect(
        receiver_.get(), &Receiver::newHost, controller,
        qOverload<const QUuid&, const QHostAddress&, const QString&, quint16, const QString&, const QString&>(
            &HostController::addHost));
    connect(receiver_.get(), &Receiver::removeHost, controller, &HostController::onFarewell);
    connect(controller, &HostController::hostAdded, &discoverer_, &Discoverer::hostAdded,
            Qt::QueuedConnection);
    connect(controller, &HostController::hostRemoved, &discoverer_, &Discoverer::hostRemoved,
            Qt::QueuedConnection);

    sender_->start();
    initialised_.wakeAll();
}

void DiscovererThread::deinit()
{
    std::shared_ptr<HostController> controller;
    {
        const QMutexLocker locker(&mutex_);
        controller.swap(hostController_);
    }
    receiver_.reset();
    sender_.reset();
    if (controller)
        controller->removeAllHosts();
    controller.reset();
    initialised_.wakeAll();
}

}  // namespace eboDiscoverer
