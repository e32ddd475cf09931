#pragma once

#include "cli/devices/Device.h"
#include "host/devices/MountListing.h"
#include "network/exchange/AbstractNetwork.h"
#include "network/nfs/eboNfs.h"
#include "runtime/refptr.h"

#include <QMap>
#include <QObject>
#include <QUuid>

namespace tunesift::cli {

/// Follows the devices of a network, and tells each difference once. Lives on the thread that it was made on,
/// whose event loop brings the network thread's signals.
class DeviceWatch : public QObject {
    Q_OBJECT

public:
    /// @param network, nfs  outlive the watch; devices that they know already appear, too
    DeviceWatch(eboNetworkExchange::AbstractNetwork& network, eboNfs& nfs);

    /// In the order of their uuids.
    [[nodiscard]] QList<Device> devices() const;

Q_SIGNALS:
    void appeared(const tunesift::cli::Device& device);
    void changed(const tunesift::cli::Device& before, const tunesift::cli::Device& after);

    /// With what was known of it last.
    void gone(const tunesift::cli::Device& device);

private:
    using HostRef = ebo::refptr<eboNetworkExchange::Host>;

    struct Entry {
        HostRef host;
        Device device;
        ebo::refptr<host::MountListing> mounts;  ///< Null so long as it shares nothing.
    };

    void onHostAdded(const HostRef& host);
    void onHostRemoved(const HostRef& host);
    void onHostChanged(const QUuid& uuid);
    void lookForMounts(Entry& entry);

    eboNfs& nfs_;
    QMap<QUuid, Entry> entries_;
};

}  // namespace tunesift::cli
