#include "network/nfs/FileSharing.h"

#include "runtime/GarbageCollection.h"
#include "runtime/logCategories.h"

#include <QPointer>
#include <QThread>

#include <malloc.h>

namespace {

constexpr unsigned long kLookMilliseconds = 500;

eboDiscoverer::Discoverer::Identity identity()
{
    const QString application = QStringLiteral("%1").arg(QStringLiteral("Tunesift"));
    return {.organizationName = QStringLiteral("Ebo Audio Works"),
            .applicationName = application,
            .version = QStringLiteral("1.0") + QStringLiteral(".") + QStringLiteral("0"),
            .applicationId = application,
            .transientUuid = true};
}

}  // namespace

FileSharing::~FileSharing() { tearDown(); }

void FileSharing::bringUp(const ebo::refptr<eboNfsFileFactory>& factory)
{
    discoverer_ = ebo::makeRef<eboDiscoverer::Discoverer>(identity());
    network_ = ebo::makeRef<eboNetworkExchange::Network>(
        discoverer_, QList<eboNetworkExchange::ServiceDefinition>{{eboNfsHost::serviceId(), false}});
    nfs_ = eboNfs::create(network_, factory);
    network_->start();
    factory_ = factory;
    factory_->setNfs(nfs_);
}

void FileSharing::tearDown()
{
    if (!network_)
        return;
    nfs_->makeEverythingUnavailable();
    factory_->setNfs(nullptr);
    factory_.reset();
    discoverer_->stop();
    discoverer_.reset();
    nfs_.reset();
    // The network object outlives its last reference by as long as its threads take to end.
    const QPointer<eboNetworkExchange::Network> ending(network_.get());
    network_.reset();
    ebo::deliverDeferredDeletions();
    while (ending) {
        qCDebug(ebo::log::network) << "Waiting for end of network operations ...";
        QThread::msleep(kLookMilliseconds);
        ebo::deliverDeferredDeletions();
    }
    // The pages of remote files came from the heaps of many threads, which keep what is freed; megabytes a
    // run.
    ::malloc_trim(0);
}
