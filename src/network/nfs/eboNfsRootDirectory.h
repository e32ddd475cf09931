#pragma once

#include "file/eboFileFactory.h"
#include "network/nfs/Backlog.h"
#include "network/nfs/ServedPaths.h"
#include "network/nfs/SharingPolicy.h"
#include "network/nfs/eboNfsLocalDirectory.h"
#include "network/nfs/eboNfsLocalFile.h"
#include "network/nfs/eboNfsSubDirectory.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QHash>
#include <QMap>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <cstdint>
#include <mutex>

class eboNfs;

/// What this device shares: the directories that are mounted, each under a name, and every file and directory
/// below them that other devices use. All requests come here.
///
/// Belongs to the core and lives on the network thread; operations are for that thread unless they say
/// otherwise. Until the core moves it there, on the thread that made it.
class eboNfsRootDirectory : public eboNfsLocalDirectory {
    Q_OBJECT

public:
    /// @param nfs          the core; held weakly
    /// @param fileFactory  opens what others ask for; held weakly
    eboNfsRootDirectory(ebo::weakptr<eboNfs> nfs, ebo::weakptr<eboFileFactory> fileFactory);
    ~eboNfsRootDirectory() override;

    /// Before anything is mounted.
    void setPolicy(SharingPolicy policy) { paths_.setPolicy(policy); }

    /// Answers a request of a device, or hands it to the object that it is for.
    /// @return whether there is work for the turns to come
    bool processRequest(const eboNfsMessages::Message& message, eboNfsHost* host) override;

    /// Empty.
    [[nodiscard]] QUrl url() const override { return {}; }

    /// The names of the mounted directories, if the filter lets directories through.
    [[nodiscard]] QStringList entryList(int filter) const override;

    /// One turn of sending for everybody who waits for the page of a directory.
    /// @return whether more is left
    bool processDirectories();

    /// One turn for everybody who waits for something of a file.
    /// @return whether more is left
    bool processFiles();

    /// Serves nothing any more: who uses something is told that it is gone, and what was open is closed when
    /// this returns.
    void endServing();

    /// The device has gone: nothing is served to it any more.
    void forgetHost(eboNfsHost& host);

    /// The file at a local URL, if it is served. Any thread.
    [[nodiscard]] ebo::refptr<eboNfsLocalFile> servedFile(const QUrl& localUrl) const;

    /// The local URL that a path in a request means, empty for the root; see ServedPaths.
    bool toLocalUrl(const QString& path, QUrl& url) const { return paths_.toLocalUrl(path, url); }

public Q_SLOTS:
    /// Shares a directory under a name that nothing else has.
    /// @param fileSizeLimit  in bytes; told to those who look at what is below
    void mountDirectory(const QUrl& url, const QString& name, qint64 fileSizeLimit);

    /// Shares it no more: who uses something of it is told that this is gone.
    void unmountDirectory(const QUrl& url);
    [[nodiscard]] bool isDirectoryMounted(const QUrl& url) const { return paths_.isMounted(url); }

Q_SIGNALS:
    void unmountDirectoryFinished(const QUrl& url);

    /// A device has a file open, and no more.
    void fileOpened(const QString& localPath, const QUuid& host);
    void fileReleased(const QString& localPath, const QUuid& host);

private:
    using Message = eboNfsMessages::Message;
    using Objects = QMap<std::uint32_t, ebo::weakptr<eboNfsLocalObject>>;

    void answerInfo(const Message& request, eboNfsHost& host) const;
    bool openDirectory(const Message& request, eboNfsHost& host);
    bool openFile(const Message& request, eboNfsHost& host);
    bool passToObject(const Message& request, eboNfsHost& host);

    [[nodiscard]] ebo::refptr<eboNfsSubDirectory> findOrMakeDirectory(const QUrl& url,
                                                                      const Message& request);
    [[nodiscard]] ebo::refptr<eboNfsLocalFile> findOrMakeFile(const QUrl& url);
    bool enter(eboNfsHost& host, std::uint32_t objectId, eboNfsLocalObject* object);
    void dropIdle();

    ServedPaths paths_;
    mutable std::mutex rootMutex_;  // guards files_ against other threads
    QHash<QUrl, ebo::refptr<eboNfsSubDirectory>> directories_;
    QHash<QUrl, ebo::refptr<eboNfsLocalFile>> files_;
    QMap<eboNfsHost*, Objects> objects_;  // by the number that each device gave them
    bool directoriesChanged_ = false;     // since the last turn
    bool filesChanged_ = false;
    const Backlogs backlogs_;
    std::shared_ptr<DirectoryWatch> watch_;  // made on the network thread, when it is needed
    const ebo::weakptr<eboNfs> nfs_;
    const ebo::weakptr<eboFileFactory> fileFactory_;
};
