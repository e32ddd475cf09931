#pragma once

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QString>

#include <memory>

/// Tells of changes in served directories, for all who look at them. There is one for the whole process: the
/// system gives a user only so many watches of its own (128 is usual), and other programs want theirs. Each
/// guest can have so many directories watched; what it looks at beyond that is listed like the rest, and
/// tells of no changes. Lives on the thread that makes it.
class DirectoryWatch : public QObject, public std::enable_shared_from_this<DirectoryWatch> {
    Q_OBJECT

public:
    DirectoryWatch();

    /// For as long as it lives, changes are told to its holder's guest.
    using Ticket = std::shared_ptr<void>;

    /// Watches a directory for a guest. @return null if that guest has enough of them, or the directory
    /// cannot be watched
    [[nodiscard]] Ticket watch(const QString& path, const void* guest);

    /// Whether a directory is being watched, for whomever. One that has been removed is not.
    [[nodiscard]] bool isWatching(const QString& path) const;

Q_SIGNALS:
    void changed(const QString& path);

private:
    void unwatch(const QString& path, const void* guest);

    QFileSystemWatcher watcher_;
    QHash<QString, int> tickets_;     // of each directory
    QHash<const void*, int> guests_;  // tickets of each
};
