#pragma once

#include "network/nfs/eboNfsDirectory.h"

class eboNfs;

/// The devices that share files, by their uuids: the listing at "net://".
class eboNfsHostDirectory : public eboNfsDirectory {
    Q_OBJECT

public:
    /// @param nfs  outlives this
    explicit eboNfsHostDirectory(eboNfs* nfs);

    [[nodiscard]] QStringList entries(bool* complete) const override;
    [[nodiscard]] bool hasDirectories() const override { return true; }
    void setIsUnavailable() override;

public Q_SLOTS:
    void onHostsChanged();

private:
    eboNfs* const nfs_;
    QStringList hostNames_;
};
