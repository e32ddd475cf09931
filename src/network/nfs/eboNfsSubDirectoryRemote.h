#pragma once

#include "network/nfs/DirectoryContentHandle.h"
#include "network/nfs/eboNfsHost.h"
#include "network/nfs/eboNfsSubDirectory.h"
#include "runtime/weakptr.h"

#include <cstdint>
#include <optional>

/// One look of one device at a directory: the number under which it is looked at, and how far the listing has
/// come. Network thread.
class eboNfsSubDirectory::Remote {
public:
    Remote(const HostRef& host, std::uint32_t objectId, const eboNfsSubDirectory& directory)
        : hostKey_(host.get()), host_(host), objectId_(objectId), directory_(directory)
    {}

    [[nodiscard]] bool isOf(const HostRef& host) const { return hostKey_ == host.get(); }
    [[nodiscard]] std::uint32_t objectId() const { return objectId_; }

    /// The next page is a first one.
    void restart() { restart_ = true; }

    /// Sends the next page, if there is one and the connection takes it.
    /// @return whether another one can follow in the next turn
    bool process();

    /// Whether the connection had too much to send already: the listing waits until it has sent something.
    [[nodiscard]] bool isStalled() const { return isStalled_; }

private:
    using EntryIterator = eboUtils::file::DirectoryContentHandle::EntryIterator;

    void begin();
    [[nodiscard]] bool isOver();
    void end();

    const eboNfsHost* const hostKey_;  // to compare with
    const ebo::weakptr<eboNfsHost> host_;
    const std::uint32_t objectId_;
    const eboNfsSubDirectory& directory_;  // owns this
    // While a listing is under way. The files come in when there are no more directories: each iterator holds
    // the directory open until it has come to the end.
    std::optional<EntryIterator> directories_;
    std::optional<EntryIterator> files_;
    bool restart_ = true;
    bool isStalled_ = false;
};
