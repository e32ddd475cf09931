#include "network/nfs/eboNfsObject.h"

#include <QMutexLocker>

eboNfsObject::eboNfsObject(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host)
    : objectId_(objectId), host_(host)
{}

eboNfsObject::~eboNfsObject() = default;

ebo::refptr<eboNfsHost> eboNfsObject::host() const
{
    const QMutexLocker locker(&hostMutex_);
    return host_.promote();
}

bool eboNfsObject::isUnavailable() const
{
    if (unavailable_)
        return true;
    const auto owner = host();
    return !owner || owner->isRemoved() || !owner->isConnected();
}

void eboNfsObject::setIsUnavailable()
{
    unavailable_ = true;
    const QMutexLocker locker(&hostMutex_);
    host_ = {};
}
