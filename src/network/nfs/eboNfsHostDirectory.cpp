#include "network/nfs/eboNfsHostDirectory.h"

#include "network/nfs/eboNfs.h"
#include "network/nfs/netUrl.h"

eboNfsHostDirectory::eboNfsHostDirectory(eboNfs* nfs)
    : eboNfsDirectory(0, nullptr, QUrl(eboNetUrl::prefix())), nfs_(nfs)
{
    connect(nfs_, &eboNfs::hostsChanged, this, &eboNfsHostDirectory::onHostsChanged);
}

QStringList eboNfsHostDirectory::entries(bool* complete) const
{
    *complete = true;
    return hostNames_;
}

void eboNfsHostDirectory::onHostsChanged()
{
    QStringList names;
    for (const auto& host : nfs_->hosts()) {
        if (!host->uuid().isNull())
            names.append(host->uuid().toString(QUuid::WithoutBraces));
    }
    hostNames_ = names;
    Q_EMIT changed();
    Q_EMIT finished();
}

void eboNfsHostDirectory::setIsUnavailable()
{
    hostNames_.clear();
    disconnect(nfs_, nullptr, this, nullptr);
    eboNfsDirectory::setIsUnavailable();
    Q_EMIT finished();
}
