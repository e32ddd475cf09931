#pragma once

#include "file/LinkPolicy.h"

#include <QByteArray>
#include <QDir>
#include <QString>
#include <QStringList>

#include <dirent.h>

#include <functional>
#include <memory>

namespace eboUtils::file {

/// The names in one directory, read from disk as they are asked for: a directory of any size costs the memory
/// of one name. Paths and names on disk are bytes and taken for UTF-8, whatever the process's locale.
/// Copyable; one thread at a time.
class DirectoryContentHandle {
public:
    /// Whether a symbolic link in the directory, given by its path, is shown at all.
    using LinkTest = std::function<bool(const QByteArray& path)>;

    /// @param path         of the directory; whether there is one is found out by looking at it
    /// @param links        whether that path may lead through links
    /// @param acceptsLink  none: every link is shown
    explicit DirectoryContentHandle(QByteArray path, LinkPolicy links = LinkPolicy::kFollow,
                                    LinkTest acceptsLink = {});

    /// Goes through the names once, in the order of the disk. Holds the directory open until it has reached
    /// the end. What comes and goes meanwhile is seen or not.
    class EntryIterator {
    public:
        [[nodiscard]] bool hasNext() const { return !next_.isNull(); }

        /// The next name; null at the end.
        QString next();

        /// Up to so many names.
        QStringList take(int most);

    private:
        friend class DirectoryContentHandle;

        struct Closer {
            void operator()(DIR* directory) const { ::closedir(directory); }
        };

        EntryIterator(const DirectoryContentHandle& handle, QDir::Filters filter);
        void findNext();
        [[nodiscard]] bool isWanted(const dirent& entry) const;
        [[nodiscard]] mode_t typeOf(const dirent& entry) const;

        QByteArray path_;
        LinkTest acceptsLink_;
        bool wantsDirectories_;
        bool wantsFiles_;
        bool wantsHidden_;
        std::unique_ptr<DIR, Closer> directory_;
        QString next_;
    };

    /// The names that a filter lets through: QDir::Dirs or AllDirs, Files, and with Hidden those that begin
    /// with a dot. Links count as what they lead to. Links to nothing, pipes and devices are never listed,
    /// nor are "." and "..". No names at all if the directory cannot be read.
    [[nodiscard]] EntryIterator entries(QDir::Filters filter) const { return {*this, filter}; }

    /// The same all at once, sorted.
    [[nodiscard]] QStringList entryList(QDir::Filters filter) const;

private:
    [[nodiscard]] DIR* open() const;

    QByteArray path_;
    LinkPolicy links_;
    LinkTest acceptsLink_;
};

}  // namespace eboUtils::file
