#pragma once

#include "file/eboFileFactory.h"
#include "network/exchange/AbstractNetwork.h"
#include "network/exchange/HostEnumerator.h"
#include "network/nfs/Message.h"
#include "network/nfs/PageCache.h"
#include "network/nfs/eboNfsDirectory.h"
#include "network/nfs/eboNfsFile.h"
#include "network/nfs/eboNfsHost.h"
#include "network/nfs/eboNfsHostDirectory.h"
#include "network/nfs/eboNfsInfo.h"
#include "network/nfs/eboNfsObject.h"
#include "network/nfs/eboNfsRootDirectory.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QHash>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QUrl>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>

/// The core of file sharing on one device: the devices that share files, what this one uses of theirs, and
/// the root of what it shares itself. It brings each message to the object that it concerns.
///
/// Lives on the network thread, which runs for as long as this does; operations say where they may be called
/// otherwise. Ends when the last reference goes; objects that are still held then find nobody and are
/// unavailable.
class eboNfs : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// A core at work, on the thread of the network.
    /// @param fileFactory  opens what others ask for; held weakly
    [[nodiscard]] static ebo::refptr<eboNfs>
    create(const ebo::refptr<eboNetworkExchange::AbstractNetwork>& network,
           const ebo::refptr<eboFileFactory>& fileFactory);

    eboNfs(ebo::refptr<eboNetworkExchange::AbstractNetwork> network,
           const ebo::refptr<eboFileFactory>& fileFactory);
    ~eboNfs() override;

    /// The file on another device that a URL names, the same object for all who hold it at once. Nothing has
    /// been sent for it yet. Any thread.
    /// @param keepAlive  what has been fetched of it stays readable once the device has gone; for all users
    /// @return null if the URL names no device that is known
    [[nodiscard]] ebo::refptr<eboNfsFile> getFile(const QUrl& url, bool keepAlive);

    /// What is known of a path on another device, to be refreshed by the caller. Any thread; null as above.
    [[nodiscard]] ebo::refptr<eboNfsInfo> getInfo(const QUrl& url);

    /// Looks a URL's device up among the known ones. Any thread.
    [[nodiscard]] bool findHost(const QUrl& url, ebo::refptr<eboNfsHost>& host) const;

    /// The devices that share files. Any thread.
    [[nodiscard]] QList<ebo::refptr<eboNfsHost>> hosts() const;

    /// The devices as a listing.
    [[nodiscard]] const ebo::refptr<eboNfsHostDirectory>& hostDirectory() const { return hostDirectory_; }

    /// What this device shares.
    [[nodiscard]] const ebo::refptr<eboNfsRootDirectory>& rootDirectory() const { return rootDirectory_; }

    /// A number for a new object of another device. Any thread.
    [[nodiscard]] std::uint32_t takeObjectId() { return nextObjectId_++; }

    /// Lets answers reach an object made elsewhere, for as long as it lives. Any thread.
    void addObject(const ebo::refptr<eboNfsObject>& object);

    /// Tells fileChanged. Any thread.
    void notifyFileChanged(const QString& filePath) { Q_EMIT fileChanged(filePath); }

    /// The name by which this device is known to others; `writeHostInfoMessageToKnownHosts` tells it to those
    /// that are there. Any thread.
    void setDeviceName(const QString& name);

    /// Ends every use of other devices: what is open becomes unavailable, so that nobody waits any longer,
    /// and nothing can be opened again. Any thread.
    void makeEverythingUnavailable();

    /// Ends every use of other devices, as above, and all that is served to them, and waits for that. On
    /// another thread than the network's, while that may still run.
    void end();

    /// Whether the last turn of serving left work to do. Any thread.
    [[nodiscard]] bool isProcessingPending() const { return processingPending_.load(); }

Q_SIGNALS:
    void hostsChanged();

    /// A file of another device that is in use here, or one that this device serves, has changed: its path.
    /// Emitted on any thread.
    void fileChanged(const QString& filePath);

public Q_SLOTS:
    void onHostAdded(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onHostRemoved(const ebo::refptr<eboNetworkExchange::Host>& host);
    void onMessageReceived(eboNfsHost* host, const eboNfsMessages::Message& message);

    /// Lets serving go on in a later turn of the event loop. Any thread.
    void triggerProcessing();
    void writeHostInfoMessageToKnownHosts();
    void onUnmountDirectoryFinished(const QUrl& url);

    /// One turn of serving: a piece for everybody who waits for one.
    void doProcessing();

private:
    /// Infos that live on after their last user, for the next one.
    static constexpr std::size_t kMostRecentInfos = 126;

    void start();
    void sendDeviceName(eboNfsHost& host);
    bool passAnswer(const eboNfsHost* host, const eboNfsMessages::Message& message);
    void dropObject(std::uint32_t objectId);

    const ebo::refptr<eboNetworkExchange::AbstractNetwork> network_;
    eboNetworkExchange::HostEnumerator hostModel_;
    QList<ebo::refptr<eboNfsHost>> hosts_;  // guarded by mutex_, as all tables
    const ebo::refptr<eboNfsRootDirectory> rootDirectory_;
    QMap<std::uint32_t, ebo::weakptr<eboNfsObject>> objects_;
    QHash<QUrl, ebo::weakptr<eboNfsDirectory>> directories_;
    QHash<QUrl, ebo::weakptr<eboNfsFile>> files_;
    QHash<QUrl, ebo::weakptr<eboNfsInfo>> infos_;
    std::deque<ebo::refptr<eboNfsInfo>> recentInfos_;
    bool isEnding_ = false;  // nothing can be opened any more
    std::atomic<std::uint32_t> nextObjectId_{1};
    const std::shared_ptr<eboUtils::PageCache> pageCache_;
    mutable QMutex mutex_;
    QMutex deviceNameMutex_;
    std::atomic<bool> processingPending_{false};
    ebo::refptr<eboNfsHostDirectory> hostDirectory_;
    QString deviceName_;  // guarded by deviceNameMutex_
    bool isProcessing_ = false;
};
