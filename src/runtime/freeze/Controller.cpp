#include "runtime/freeze/Controller.h"

#include <QCoreApplication>
#include <QDebug>

#include <algorithm>
#include <utility>

namespace eboFreezeDetector {

namespace {

struct Instance {
    std::mutex mutex;
    std::shared_ptr<Controller> controller;  // guarded by mutex
};

Instance& theInstance()
{
    static Instance instance;
    return instance;
}

/// Its thread cannot outlive the application object.
void endInstance()
{
    std::shared_ptr<Controller> ending;
    const std::lock_guard lock(theInstance().mutex);
    ending.swap(theInstance().controller);
}

}  // namespace

std::shared_ptr<Controller> Controller::instance()
{
    const std::lock_guard lock(theInstance().mutex);
    std::shared_ptr<Controller>& controller = theInstance().controller;
    if (!controller) {
        controller = std::make_shared<Controller>();
        qAddPostRoutine(endInstance);
    }
    return controller;
}

Controller::Controller(FrozenHandler handler) : checker_(std::move(handler))
{
    qRegisterMetaType<ProbePtr>("ProbePtr");
    thread_.setObjectName(QStringLiteral("Freeze Checker Thread"));
    checker_.moveToThread(&thread_);
    connect(&thread_, &QThread::finished, &checker_, &FreezeChecker::stop, Qt::DirectConnection);
}

Controller::~Controller()
{
    thread_.quit();
    thread_.wait();
}

void Controller::start()
{
    const std::lock_guard lock(mutex_);
    isStarted_ = true;
    thread_.start();
    QMetaObject::invokeMethod(&checker_, &FreezeChecker::start, Qt::QueuedConnection);
    for (const ProbePtr& probe : std::exchange(waiting_, {}))
        handOver(probe);
}

void Controller::addProbe(const ProbePtr& probe)
{
    const std::lock_guard lock(mutex_);
    if (isStarted_)
        handOver(probe);
    else
        waiting_.push_back(probe);
}

void Controller::handOver(const ProbePtr& probe)
{
    QMetaObject::invokeMethod(
        &checker_, [this, probe] { checker_.addProbe(probe); }, Qt::QueuedConnection);
}

void Controller::removeProbe(const ProbePtr& probe)
{
    const std::lock_guard lock(mutex_);
    waiting_.erase(std::remove(waiting_.begin(), waiting_.end(), probe), waiting_.end());
    if (isStarted_)
        QMetaObject::invokeMethod(
            &checker_, [this, probe] { checker_.removeProbe(probe); }, Qt::QueuedConnection);
}

void Controller::terminateProcess(const std::vector<ProbePtr>& frozen)
{
    qCritical() << "probes have frozen:";
    for (const ProbePtr& probe : frozen)
        qCritical() << "*" << probe->objectName();
    qFatal("Terminating application");
}

}  // namespace eboFreezeDetector
