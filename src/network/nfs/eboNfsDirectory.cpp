#include "network/nfs/eboNfsDirectory.h"

#include <utility>

eboNfsDirectory::eboNfsDirectory(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host, QUrl url)
    : eboNfsObject(objectId, host), url_(std::move(url))
{}

void eboNfsDirectory::setIsUnavailable()
{
    eboNfsObject::setIsUnavailable();
    Q_EMIT unavailable(ebo::refptr<eboNfsDirectory>(this));
    Q_EMIT changed();
}
