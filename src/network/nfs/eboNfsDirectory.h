#pragma once

#include "network/nfs/eboNfsObject.h"

#include <QStringList>
#include <QUrl>

#include <cstdint>

/// A listing of something on the network. Network thread.
class eboNfsDirectory : public eboNfsObject {
    Q_OBJECT

public:
    eboNfsDirectory(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host, QUrl url);

    [[nodiscard]] const QUrl& url() const { return url_; }

    /// The names in it. @param complete  told whether these are all
    [[nodiscard]] virtual QStringList entries(bool* complete) const = 0;
    [[nodiscard]] virtual bool hasDirectories() const = 0;

    /// Whether the listing can be opened at all.
    [[nodiscard]] virtual bool isReadable() const { return true; }

    /// The largest file that it takes, in bytes.
    [[nodiscard]] virtual std::int64_t fileSizeLimit() const { return eboNfsMessages::kNoSizeLimit; }

    void setIsUnavailable() override;

Q_SIGNALS:
    void changed();

    /// The listing is complete for now.
    void finished();
    void unavailable(ebo::refptr<eboNfsDirectory> directory);

private:
    const QUrl url_;
};
