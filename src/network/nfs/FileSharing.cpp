#include "network/nfs/FileSharing.h"

#include "runtime/EndAtOnce.h"
#include "runtime/resourcesLeft.h"

#include <malloc.h>

namespace {

/// Qt's watch over the networks and its way to the system's bus have a thread and some descriptors each, from
/// the first bring-up on, and wait for ever for a thread that the system has not given. With the sockets that
/// makes about ten descriptors before the first device is met.
bool mayComeUp()
{
    constexpr int kDescriptors = 24;
    constexpr int kThreadsOfQt = 2;
    static bool qtHasItsThreads = false;
    qtHasItsThreads = qtHasItsThreads || ebo::threadsAreLeft(kThreadsOfQt);
    return qtHasItsThreads && ebo::descriptorsAreLeft(kDescriptors);
}

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

bool FileSharing::bringUp(const ebo::refptr<eboNfsFileFactory>& factory)
{
    if (!mayComeUp())
        return false;
    discoverer_ = ebo::makeRef<eboDiscoverer::Discoverer>(identity());
    network_ = ebo::makeRef<eboNetworkExchange::Network>(
        discoverer_, QList<eboNetworkExchange::ServiceDefinition>{{eboNfsHost::serviceId(), false}});
    nfs_ = eboNfs::create(network_, factory);
    factory_ = factory;
    network_->start();
    if (!network_->isUp() || !discoverer_->isUp()) {
        tearDown();
        return false;
    }
    factory_->setNfs(nfs_);
    return true;
}

void FileSharing::tearDown()
{
    if (!network_)
        return;
    factory_->setNfs(nullptr);
    discoverer_->stop();
    nfs_->end();
    network_->end();
    // Their threads have ended, so what nobody else holds ends here, and its memory with it.
    {
        const ebo::EndAtOnce endAtOnce;
        factory_.reset();
        nfs_.reset();
        network_.reset();
        discoverer_.reset();
    }
    // The pages of remote files came from the heaps of many threads, which keep what is freed; megabytes a
    // run.
    ::malloc_trim(0);
}
