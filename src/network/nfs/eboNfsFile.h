#pragma once
#include "network/nfs/PageCache.h"
#include "network/nfs/eboNfsObject.h"
#include "runtime/weakptr.h"
#include <QUrl>
#include <memory>
class eboNfs;
class eboNfsFileAdapter;
class eboNfsFile : public eboNfsObject {
    Q_OBJECT
public:
    eboNfsFile(ebo::weakptr<eboNfs>, const ebo::refptr<eboNfsHost>& host,
               std::shared_ptr<eboUtils::PageCache>, QUrl url, std::uint32_t id)
        : eboNfsObject(id, host), url_(url)
    {}
    const QUrl& url() const { return url_; }
    void setKeepAlive() {}
    void addAdapter(const ebo::refptr<eboNfsFileAdapter>&) {}

private:
    QUrl url_;
};
