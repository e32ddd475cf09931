#include "host/devices/MountListing.h"

#include <QMutexLocker>

#include <utility>

namespace tunesift::host {

using eboNfsMessages::Message;

ebo::refptr<MountListing> MountListing::request(eboNfs& nfs, const ebo::refptr<eboNfsHost>& host)
{
    auto listing = ebo::makeRef<MountListing>(nfs.takeObjectId(), host);
    listing->moveToThread(nfs.thread());
    nfs.addObject(listing);
    Message request(eboNfsMessages::eDirectoryRequest, listing->objectId());
    request.path = QStringLiteral("/");
    host->sendMessage(request);
    return listing;
}

MountListing::MountListing(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host)
    : eboNfsObject(objectId, host)
{}

MountListing::~MountListing()
{
    if (isUnavailable())
        return;
    if (const auto receiver = host())
        receiver->sendMessage(Message(eboNfsMessages::eDirectoryRelease, objectId()));
}

QStringList MountListing::names() const
{
    const QMutexLocker locker(&mutex_);
    return names_;
}

void MountListing::messageReceived(const Message& message)
{
    if (message.type != eboNfsMessages::eDirectoryContents)
        return;
    if (message.isFirst)
        arriving_.clear();
    if (arriving_.size() < kMostNames)
        arriving_.append(message.entries.mid(0, kMostNames - arriving_.size()));
    if (!message.isLast)
        return;
    {
        const QMutexLocker locker(&mutex_);
        names_ = std::exchange(arriving_, {});
    }
    Q_EMIT changed();
}

}  // namespace tunesift::host
