#pragma once

#include "network/nfs/eboNfs.h"
#include "network/nfs/eboNfsObject.h"
#include "runtime/refptr.h"

#include <QMutex>
#include <QStringList>

#include <cstdint>

namespace tunesift::host {

/// The names under which another device shares its directories, kept up to date by it for as long as this
/// lives. Made on any thread; signals come on the network thread.
class MountListing : public eboNfsObject {
    Q_OBJECT

public:
    /// More names than that are not believed.
    static constexpr int kMostNames = 4096;

    /// Asks a device for its listing; the answer comes by `changed`.
    [[nodiscard]] static ebo::refptr<MountListing> request(eboNfs& nfs, const ebo::refptr<eboNfsHost>& host);

    MountListing(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host);

    /// Lets the device forget who listens.
    ~MountListing() override;

    /// The latest whole listing; empty before the first. Any thread.
    [[nodiscard]] QStringList names() const;

    void messageReceived(const eboNfsMessages::Message& message) override;

Q_SIGNALS:
    /// A whole listing has come.
    void changed();

private:
    QStringList arriving_;  // network thread only
    mutable QMutex mutex_;
    QStringList names_;  // guarded by mutex_
};

}  // namespace tunesift::host
