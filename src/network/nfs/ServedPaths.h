#pragma once

#include "network/nfs/SharingPolicy.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstdint>
#include <limits>
#include <optional>

/// The directories that are mounted, each under a name, and the way from a path in a request to the local
/// file that it means. Belongs to the root directory of file sharing, on whose thread alone it is used.
class ServedPaths {
public:
    /// What stands for no limit of the size of a file.
    static constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

    /// Before anything is mounted.
    void setPolicy(SharingPolicy policy) { policy_ = policy; }
    [[nodiscard]] const SharingPolicy& policy() const { return policy_; }

    /// @param fileSizeLimit  bytes, told to those who look at the directory
    /// @return false, with nothing changed, if the directory or the name is mounted already
    bool mount(const QUrl& url, const QString& name, std::int64_t fileSizeLimit);

    /// Forgets a directory; false if it was not mounted.
    bool unmount(const QUrl& url);

    [[nodiscard]] bool isMounted(const QUrl& url) const { return mounts_.contains(url); }

    /// The names of all mounted directories, sorted.
    [[nodiscard]] QStringList names() const;

    /// The local URL that a path leads to: "/", the name of a mounted directory, the rest. Whether there is
    /// anything is another question, but a name that no file can have (with a NUL, or with half a surrogate
    /// pair) leads nowhere. By a confined policy the result is free of "..", and of links as of this moment.
    /// @param url  left empty for "/", the root
    /// @return false if the path leads nowhere
    bool toLocalUrl(const QString& path, QUrl& url) const;

    /// Whether a local path, symbolic links followed, lies in a mounted directory. What does not exist is
    /// judged by what does of its path.
    [[nodiscard]] bool isWithin(const QByteArray& localPath) const { return confined(localPath).has_value(); }

    /// The limit of the mounted directory that a local path begins with, the longest if there are several.
    [[nodiscard]] std::int64_t fileSizeLimitOf(const QString& localPath) const;

    /// How the URLs begin of what is served from a mounted directory: with its own, and by a confined policy
    /// with that of the place it really is at.
    [[nodiscard]] QStringList urlPrefixesOf(const QUrl& url) const;

private:
    struct Mount {
        QString name;
        std::int64_t fileSizeLimit;
        /// Without links, as of the moment of mounting: a link that takes its place later confines nobody
        /// elsewhere.
        QByteArray canonicalPath;
    };
    using Mounts = QHash<QUrl, Mount>;

    [[nodiscard]] Mounts::const_iterator findName(const QString& name) const;
    [[nodiscard]] std::optional<QByteArray> confined(const QByteArray& localPath) const;

    SharingPolicy policy_;
    Mounts mounts_;
};
