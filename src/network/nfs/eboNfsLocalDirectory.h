#pragma once

#include "network/nfs/eboNfsLocalObject.h"
#include "runtime/refptr.h"

#include <QStringList>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

/// A directory of this device that others look at: who does, and whole lists to them. Network thread.
class eboNfsLocalDirectory : public eboNfsLocalObject {
    Q_OBJECT

public:
    using HostRef = ebo::refptr<eboNfsHost>;

    eboNfsLocalDirectory() = default;
    ~eboNfsLocalDirectory() override;

    /// Answers eDirectoryRelease, nothing else.
    bool processRequest(const eboNfsMessages::Message& message, eboNfsHost* host) override;
    [[nodiscard]] bool serves(eboNfsHost* host, std::uint32_t objectId) const override;
    void forget(eboNfsHost* host, std::uint32_t objectId) override;

    /// Drops the device, by its object or, failing that, by its uuid.
    void removeHost(eboNfsHost* host) override;
    void dismiss() override;

    /// The device looks at the directory under this number.
    virtual void registerListeningHost(const HostRef& host, unsigned int objectId);

    /// It does no longer; with the last number of a device, the device goes too.
    virtual void releaseObject(const HostRef& host, unsigned int objectId);
    virtual void unregisterListeningHost(const HostRef& host);

    /// Devices that look at the directory.
    [[nodiscard]] virtual std::size_t listenerCount() const { return listeners_.size(); }

    /// The names that a QDir filter lets through.
    [[nodiscard]] virtual QStringList entryList(int filter) const = 0;

    /// One turn of sending.
    /// @param more  whether something is left to send
    virtual void process(bool& more) { more = false; }

    /// Sends the whole list, to every number of a device or of all.
    void sendDirectoryContents(const HostRef& host);
    void sendDirectoryContentsToAll();

Q_SIGNALS:
    /// The contents are not what they were.
    void changed();

protected:
    /// Finds a device by its object, also when no reference to it is at hand.
    struct ByAddress {
        using is_transparent = void;
        static const eboNfsHost* address(const HostRef& host) { return host.get(); }
        static const eboNfsHost* address(const eboNfsHost* host) { return host; }
        template <typename Left, typename Right>
        bool operator()(const Left& left, const Right& right) const
        {
            return std::less<>()(address(left), address(right));
        }
    };
    using Listeners = std::map<HostRef, std::vector<std::uint32_t>, ByAddress>;

    [[nodiscard]] const Listeners& listeners() const { return listeners_; }

private:
    void sendToAllObjects(const HostRef& host, eboNfsMessages::Message message) const;
    void tellGone();

    Listeners listeners_;
};
