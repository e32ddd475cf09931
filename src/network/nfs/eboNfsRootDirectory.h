#pragma once
#include "file/eboFileFactory.h"
#include "network/nfs/eboNfsHost.h"
#include "runtime/weakptr.h"
#include <QUrl>
class eboNfs;
class eboNfsRootDirectory : public QObject, public ebo::refcounted {
    Q_OBJECT
public:
    eboNfsRootDirectory(ebo::weakptr<eboNfs>, ebo::weakptr<eboFileFactory>) {}
    bool processRequest(const eboNfsMessages::Message&, eboNfsHost*) { return false; }
    bool processDirectories() { return false; }
    bool processFiles() { return false; }
    void forgetHost(eboNfsHost&) {}
Q_SIGNALS:
    void unmountDirectoryFinished(const QUrl& url);
};
