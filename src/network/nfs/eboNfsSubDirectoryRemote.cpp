#include "network/nfs/eboNfsSubDirectoryRemote.h"

#include "network/nfs/servingLimits.h"
#include "runtime/logCategories.h"

void eboNfsSubDirectory::Remote::begin()
{
    directories_ = directory_.contents_.entries(QDir::Dirs | QDir::NoDot | QDir::NoDotDot);
    files_.reset();
    restart_ = false;
}

bool eboNfsSubDirectory::Remote::isOver()
{
    if (directories_->hasNext())
        return false;
    if (!files_)
        files_ = directory_.contents_.entries(QDir::Files);
    return !files_->hasNext();
}

void eboNfsSubDirectory::Remote::end()
{
    directories_.reset();
    files_.reset();
}

bool eboNfsSubDirectory::Remote::process()
{
    isStalled_ = false;
    if (!restart_ && !directories_)
        return false;
    const HostRef host = host_.promote();
    if (!host) {
        qCWarning(ebo::log::directoryRoot) << "bool eboNfsSubDirectory::Remote::process()"
                                           << "Host has disappeared";
        restart_ = false;
        end();
        return false;
    }
    if (!host->hasService()) {  // pages may have been lost; if it comes back, all anew
        restart_ = true;
        isStalled_ = true;
        end();
        return false;
    }
    if (host->unsentBytes() > servingLimits::kMostUnsentBytes) {
        isStalled_ = true;
        return false;
    }

    eboNfsMessages::Message message(eboNfsMessages::eDirectoryContents, objectId_);
    message.isFirst = restart_;
    if (restart_)
        begin();
    message.containsDirectories = directories_->hasNext();
    if (message.containsDirectories)
        message.entries = directories_->take(kNamesPerPage);
    else if (!isOver())
        message.entries = files_->take(kNamesPerPage);
    message.isLast = isOver();
    if (message.isLast)
        end();
    const bool isLast = message.isLast;
    qCDebug(ebo::log::fileTransferDetailed)
        << Q_FUNC_INFO << "send content of sub-directory to remote" << host->rootUrl()
        << "object id:" << objectId_ << "directory:" << directory_.url() << "restart:" << message.isFirst
        << "entries:" << message.entries;
    host->sendMessage(message);
    return !isLast;
}
