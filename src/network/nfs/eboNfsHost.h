#pragma once

#include "network/exchange/Host.h"
#include "network/exchange/Service.h"
#include "network/nfs/Message.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QMutex>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <atomic>

/// Another device as a partner in file sharing: messages to and from its service "FileTransfer".
///
/// Lives on the network thread; `sendMessage`, `postMessage` and what is const may be called on any, unless
/// it says otherwise.
class eboNfsHost : public QObject, public ebo::refcounted {
    Q_OBJECT
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)

public:
    explicit eboNfsHost(const ebo::refptr<eboNetworkExchange::Host>& host);
    ~eboNfsHost() override;

    [[nodiscard]] static QString serviceId() { return QStringLiteral("FileTransfer"); }

    [[nodiscard]] const QUuid& uuid() const { return uuid_; }

    /// "net://" and the uuid.
    [[nodiscard]] const QUrl& rootUrl() const { return rootUrl_; }

    /// The device's name as it told it; null before.
    [[nodiscard]] QString name() const;

    /// The device as the service network knows it; null once it has gone.
    [[nodiscard]] ebo::refptr<eboNetworkExchange::Host> host() const;

    [[nodiscard]] bool isRemoved() const { return removed_.load(); }
    [[nodiscard]] bool isConnected() const;
    [[nodiscard]] bool hasService() const;

    /// Sends a message, and waits until a socket has taken it.
    /// @return false if the device has gone or has no service; true otherwise, whatever became of the message
    bool sendMessage(const eboNfsMessages::Message& message);

    /// The same without waiting, in order with what else this thread sends.
    bool postMessage(const eboNfsMessages::Message& message);

    /// Sends a message by whatever way there is. Network thread.
    /// @return whether a socket took it
    bool sendMessageNonBlocking(const eboNfsMessages::Message& message);

    /// Bytes that sockets have taken and not yet sent. Network thread.
    [[nodiscard]] qint64 unsentBytes() const;

    /// Begins to listen to the service, and reads what waits there.
    void startReading();

    /// The device has gone: nothing is sent or received from now on.
    void remove();

public Q_SLOTS:
    void onReadyRead();
    void setName(const QString& name);

    /// Follows the device when it offers its service anew.
    void onServicesChanged(const ebo::refptr<eboNetworkExchange::Host>& host);

Q_SIGNALS:
    /// Every message but eDeviceInfo; see setName.
    void messageReceived(eboNfsHost* host, const eboNfsMessages::Message& message);
    void nameChanged(const QUrl& rootUrl, const QString& name);
    void bytesWritten(qlonglong bytes);
    void addressesChanged();

private:
    using HostRef = ebo::refptr<eboNetworkExchange::Host>;
    using ServiceRef = ebo::refptr<eboNetworkExchange::Service>;

    [[nodiscard]] ServiceRef service() const;
    void readPacket(const QByteArray& packet);

    const QUuid uuid_;
    const QUrl rootUrl_;
    mutable QMutex mutex_;
    HostRef host_;        // guarded by mutex_
    ServiceRef service_;  // guarded by mutex_
    QString name_;        // guarded by mutex_
    std::atomic<bool> removed_{false};
    bool connected_ = false;  // network thread only
};
