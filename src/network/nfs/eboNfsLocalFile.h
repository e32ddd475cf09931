#pragma once

#include "file/eboFileFactory.h"
#include "network/nfs/Backlog.h"
#include "network/nfs/SharingPolicy.h"
#include "network/nfs/eboNfsLocalObject.h"
#include "network/nfs/eboSparseBitArray.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QString>
#include <QUrl>
#include <QUuid>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class eboNfs;
class eboNfsLocalFileRemote;

/// A file of this device that others use: one eboNfsLocalFileRemote for each use. Lives on the network
/// thread; everything happens there, but for `internalInvalidateFileTransmissionState`.
class eboNfsLocalFile : public eboNfsLocalObject {
    Q_OBJECT

public:
    eboNfsLocalFile(QUrl url, ebo::weakptr<eboNfs> nfs, ebo::weakptr<eboFileFactory> fileFactory,
                    SharingPolicy policy, Backlogs backlogs);
    ~eboNfsLocalFile() override;

    /// Opens the file for one more use, and tells the device what came of that, in a turn to come. A use that
    /// is there already is told again.
    void addRemote(const ebo::refptr<eboNfsHost>& host, unsigned int objectId);

    bool processRequest(const eboNfsMessages::Message& message, eboNfsHost* host) override;
    [[nodiscard]] QUrl url() const override { return url_; }
    [[nodiscard]] bool serves(eboNfsHost* host, std::uint32_t objectId) const override;
    void forget(eboNfsHost* host, std::uint32_t objectId) override;
    void removeHost(eboNfsHost* host) override;
    void dismiss() override;

    [[nodiscard]] bool isUsed() const;

    /// One turn: an eFileInfo or a block for each use.
    /// @param more  whether something is left to send
    void process(bool& more);

public Q_SLOTS:
    /// These blocks have changed: tells all who use the file, but for one whose change it is. Any thread.
    void internalInvalidateFileTransmissionState(const eboSparseBitArray& invalidBlocks);

Q_SIGNALS:
    /// A device has the file open, and no more.
    void opened(const QString& localPath, const QUuid& host);
    void released(const QString& localPath, const QUuid& host);

private:
    using RemoteRef = std::shared_ptr<eboNfsLocalFileRemote>;

    [[nodiscard]] bool canBeOpened() const;
    [[nodiscard]] ebo::refptr<eboFile> makeFile(const ebo::refptr<eboFileFactory>& factory) const;
    [[nodiscard]] RemoteRef find(eboNfsHost* host, std::uint32_t objectId) const;
    void drop(const RemoteRef& remote);
    void dropIf(const std::function<bool(const RemoteRef&)>& isMeant);
    void tellGone();

    const QUrl url_;
    const QString localPath_;
    const ebo::weakptr<eboNfs> nfs_;
    const ebo::weakptr<eboFileFactory> fileFactory_;
    const SharingPolicy policy_;
    const Backlogs backlogs_;
    std::vector<RemoteRef> remotes_;
};
