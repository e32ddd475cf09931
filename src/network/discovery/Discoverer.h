#pragma once

#include "network/discovery/AbstractDiscoverer.h"
#include "network/discovery/DiscovererThread.h"

#include <QString>

#include <memory>

namespace eboDiscoverer {

/// Discovery by beacons: a device appears with its first beacon, and disappears when all of its addresses
/// have been silent for five seconds or when it takes leave. Belongs to one thread, usually the main one,
/// whose event loop its signals come by.
class Discoverer : public AbstractDiscoverer {
    Q_OBJECT

public:
    /// How a device calls itself. The first two name the settings that a lasting uuid is kept in.
    struct Identity {
        QString organizationName;
        QString applicationName;
        QString version;
        QString applicationId;
        bool transientUuid = true;  ///< A new uuid for each object, instead of one kept in the settings.
    };

    explicit Discoverer(Identity identity);
    ~Discoverer() override;

    [[nodiscard]] QList<ebo::refptr<Host>> hosts() const override;

    /// Fatal if it is running.
    void start(quint16 directoryPort) override;
    void stop() override;
    [[nodiscard]] QUuid uuid() const override { return uuid_; }

    [[nodiscard]] const QString& organizationName() const { return identity_.organizationName; }
    [[nodiscard]] const QString& applicationName() const { return identity_.applicationName; }
    [[nodiscard]] const QString& applicationVersion() const { return identity_.version; }
    [[nodiscard]] const QString& applicationId() const { return identity_.applicationId; }

    /// Whether discovery is at work: between start and stop, unless the system had no thread to give.
    [[nodiscard]] bool isUp() const { return thread_->isRunning(); }
    [[nodiscard]] quint16 directoryPort() const { return directoryPort_; }

private:
    const Identity identity_;
    quint16 directoryPort_ = 0;
    const QUuid uuid_;
    const std::unique_ptr<DiscovererThread> thread_;
};

}  // namespace eboDiscoverer
