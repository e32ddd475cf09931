#include "network/discovery/Discoverer.h"

#include "runtime/logCategories.h"

#include <QSettings>

#include <utility>

namespace eboDiscoverer {

namespace {

QString uuidKey() { return QStringLiteral("NetworkUuid"); }

QUuid uuidFor(const Discoverer::Identity& identity)
{
    const QUuid fresh = QUuid::createUuid();
    if (identity.transientUuid)
        return fresh;
    const QSettings settings(identity.organizationName, identity.applicationName);
    const QUuid kept = settings.value(uuidKey(), QVariant::fromValue(fresh)).toUuid();
    return kept.isNull() ? fresh : kept;
}

void registerTypes()
{
    qRegisterMetaType<ebo::refptr<Host>>("ebo::refptr<eboDiscoverer::Host>");
    qRegisterMetaType<ebo::refptr<HostAddressHelper>>("ebo::refptr<eboDiscoverer::HostAddressHelper>");
}

}  // namespace

Discoverer::Discoverer(Identity identity)
    : identity_(std::move(identity)), uuid_(uuidFor(identity_)),
      thread_(std::make_unique<DiscovererThread>(*this))
{
    registerTypes();
    if (ebo::log::discoverer().isDebugEnabled()) {
        connect(
            thread_.get(), &QThread::started, thread_.get(),
            [] { qCDebug(ebo::log::discoverer) << "SendReceiveThread::started"; }, Qt::DirectConnection);
        connect(
            thread_.get(), &QThread::finished, thread_.get(),
            [] { qCDebug(ebo::log::discoverer) << "SendReceiveThread::finished"; }, Qt::DirectConnection);
    }
}

Discoverer::~Discoverer()
{
    thread_->stopAndWait();
    if (!identity_.transientUuid)
        QSettings(identity_.organizationName, identity_.applicationName)
            .setValue(uuidKey(), QVariant::fromValue(uuid_));
}

QList<ebo::refptr<Host>> Discoverer::hosts() const
{
    const std::shared_ptr<HostController> controller = thread_->hostController();
    return controller ? controller->hosts() : QList<ebo::refptr<Host>>();
}

void Discoverer::start(quint16 directoryPort)
{
    if (thread_->isRunning())
        qFatal("Discoverer started twice!");
    directoryPort_ = directoryPort;
    thread_->startAndWait();
}

void Discoverer::stop() { thread_->stopAndWait(); }

}  // namespace eboDiscoverer
