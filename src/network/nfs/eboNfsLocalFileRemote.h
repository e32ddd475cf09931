#pragma once

#include "file/eboFile.h"
#include "network/nfs/Backlog.h"
#include "network/nfs/Message.h"
#include "network/nfs/eboNfsHost.h"
#include "network/nfs/eboSparseBitArray.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>
#include <QUuid>

#include <cstddef>
#include <cstdint>
#include <memory>

class eboNfs;

/// One use of a file of this device by another: a file object of its own, the blocks that are still to be
/// sent, and what has been written and waits for its sync. Network thread only, so it needs no lock; its file
/// has a lock level of its own among all file objects of the path.
class eboNfsLocalFileRemote : public QObject, public std::enable_shared_from_this<eboNfsLocalFileRemote> {
    Q_OBJECT

public:
    /// Ranges of blocks that can wait to be sent. A reader that asks for every second block of ten minutes of
    /// uncompressed music comes to 13,000; they cost 3 MB.
    static constexpr std::size_t kMostPendingRanges = 65536;

    /// Writes that can wait for a sync, each of a block at most: 256 MiB. The pages of a device like this one
    /// hold 50 MB.
    static constexpr int kMostPendingWrites = 65536;

    /// @param file      opened already, if it could be
    /// @param readOnly  what would change the file fails
    /// @param backlogs  of all uses; what waits for this one counts there
    eboNfsLocalFileRemote(const ebo::refptr<eboNfsHost>& host, std::uint32_t objectId,
                          ebo::refptr<eboFile> file, QString localPath, ebo::weakptr<eboNfs> nfs,
                          bool readOnly, const Backlogs& backlogs);
    ~eboNfsLocalFileRemote() override;

    [[nodiscard]] bool isOf(const eboNfsHost* host) const { return hostKey_ == host; }
    [[nodiscard]] const QUuid& hostUuid() const { return hostUuid_; }
    [[nodiscard]] std::uint32_t objectId() const { return objectId_; }
    [[nodiscard]] bool isOpen() const { return file_->isReadable(); }

    /// Whether the file was open at the beginning.
    [[nodiscard]] bool wasOpened() const { return wasOpened_; }

    /// Whether the device can still want something of it: a file that is not open is over with the telling.
    [[nodiscard]] bool isInUse() const { return isOpen() || sendsInfo_; }

    /// The next turn tells whether the file is open, and its size.
    void sendInfoAgain();

    /// Obeys a request; all types but eFileRelease and eFileDeleteRequest.
    /// @return whether there is work for the turns to come
    bool processRequest(const eboNfsMessages::Message& message);

    /// Removes the file, and tells the device whether that worked; returns that too.
    bool deleteFile();

    /// These blocks have changed, and not by this use.
    void invalidate(const eboSparseBitArray& blocks);

    void tellUnavailable() const;

    /// Unlocks and closes. What was written and not synced is lost.
    void close();

public Q_SLOTS:
    /// One turn: tells about the file or sends a block.
    /// @return whether it sent something, so that more may follow
    bool doProcess();

    /// The connection has room again.
    void onBytesWritten();

private:
    struct PendingWrite {
        std::int64_t offset;
        QByteArray data;
    };

    bool sendInfo();
    bool sendBlock();
    bool readBlock(std::uint64_t block, QByteArray& data);
    bool readAt(std::int64_t offset, QByteArray& data);
    void noteSent(std::uint64_t block);

    bool onDataRequest(const eboNfsMessages::Message& message);
    bool onWriteRequest(const eboNfsMessages::Message& message);
    bool onLockRequest(const eboNfsMessages::Message& message);
    bool onSyncRequest();
    bool onTruncateRequest(const eboNfsMessages::Message& message);

    void countWaiting();
    [[nodiscard]] bool hasSentAll() const;
    bool writePending();
    bool write(const PendingWrite& record);

    const eboNfsHost* const hostKey_;  // to compare with
    const ebo::weakptr<eboNfsHost> host_;
    const QUuid hostUuid_;
    const std::uint32_t objectId_;
    const QString localPath_;
    const ebo::weakptr<eboNfs> nfs_;
    const bool readOnly_;
    eboSparseBitArray sentBlocks_;  // what the device was sent or wrote, and nobody has changed since
    eboSparseBitArray pendingBlocks_;
    Backlog::Share rangesWaiting_;
    const ebo::refptr<eboFile> file_;
    const bool wasOpened_;
    bool sendsInfo_ = true;
    QList<PendingWrite> pendingWrites_;
    Backlog::Share writesWaiting_;
    bool lostWrites_ = false;
    bool isSyncing_ = false;     // notices of changes are of this use's own
    bool isStalled_ = false;     // the connection refused a block
    bool isProcessing_ = false;  // the event loop may come back here while a block is sent
};
