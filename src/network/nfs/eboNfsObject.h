#pragma once

#include "network/nfs/Message.h"
#include "network/nfs/eboNfsHost.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <QMutex>
#include <QObject>

#include <atomic>
#include <cstdint>

/// Something of another device that this one talks about: a number that both use for it, and the device.
///
/// Lives on the network thread, where messages come in; what is const may be asked on any. Once unavailable,
/// it stays so: whoever wants it again asks for a new object.
class eboNfsObject : public QObject, public ebo::refcounted {
    Q_OBJECT

public:
    /// @param objectId  unique among the objects of one core
    /// @param host      the device; held weakly
    eboNfsObject(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host);
    ~eboNfsObject() override;

    [[nodiscard]] std::uint32_t objectId() const { return objectId_; }

    /// The device; null once it or this object has gone.
    [[nodiscard]] ebo::refptr<eboNfsHost> host() const;

    /// Whether the device or the object on it has gone. Found out anew each time: no message is needed for a
    /// device that drops out.
    [[nodiscard]] bool isUnavailable() const;

    /// Whether something of it has not been fetched yet.
    [[nodiscard]] virtual bool hasMissingData() const { return false; }
    [[nodiscard]] virtual bool isBusy() const { return false; }

    /// An answer for this object. Network thread.
    virtual void messageReceived(const eboNfsMessages::Message& /*message*/) {}

    /// Nothing is to be had of it any more. Any thread.
    virtual void setIsUnavailable();

private:
    const std::uint32_t objectId_;
    std::atomic<bool> unavailable_{false};
    mutable QMutex hostMutex_;
    ebo::weakptr<eboNfsHost> host_;  // guarded by hostMutex_
};
