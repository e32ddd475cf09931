#pragma once

#include "network/nfs/eboNfsObject.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QMutex>
#include <QUrl>
#include <QWaitCondition>

#include <cstdint>

/// Whether a path on another device exists, and what it is. The accessors tell the latest answer, and nothing
/// meaningful unless `refresh` returned true. Any thread.
class eboNfsInfo : public eboNfsObject {
    Q_OBJECT

public:
    eboNfsInfo(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host, QUrl url);

    [[nodiscard]] const QUrl& url() const { return url_; }

    /// Asks the device, unless an answer is under a second old, and waits for the answer for as long as the
    /// device is there; asks again each second. Not to be called on the network thread.
    /// @return whether the accessors can be trusted
    bool refresh();

    [[nodiscard]] bool exists() const;
    [[nodiscard]] bool isDir() const;

    /// QFile::Permissions, or 0xFFFFF for the root of a device.
    [[nodiscard]] std::int32_t flags() const;
    [[nodiscard]] QDateTime ctime() const;
    [[nodiscard]] QDateTime mtime() const;
    [[nodiscard]] QDateTime atime() const;
    [[nodiscard]] std::int64_t size() const;

    void messageReceived(const eboNfsMessages::Message& message) override;
    void setIsUnavailable() override;

private:
    [[nodiscard]] eboNfsMessages::Message answer() const;
    void sendRequest();

    const QUrl url_;
    mutable QMutex answerMutex_;
    QWaitCondition answerArrived_;
    eboNfsMessages::Message answer_;  // of type kInvalid while none is valid; guarded by answerMutex_
    QElapsedTimer lastRefresh_;       // guarded by answerMutex_
};
