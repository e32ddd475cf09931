#pragma once

#include "cli/rows/TrackOutcome.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace tunesift::cli {

/// A track that is to be analysed.
struct ListedTrack {
    QByteArray path;
    std::optional<Failure> failure;  ///< That was met on the way to it.
};

/// Gathers tracks: single ones, those of folders, those that lists name. What is given twice is there twice.
class TrackList {
public:
    /// A track; or a folder, of which it takes every file with the name of a track, in the order of the bytes
    /// of their names. Hidden files and folders stay out, links are followed.
    void add(const QByteArray& path);

    /// The tracks that a file names, as they are: a folder among them is no track.
    /// @param file  "-" for standard input
    /// @return what went wrong, if anything
    [[nodiscard]] std::optional<QString> addFrom(const QByteArray& file, bool isNulSeparated);

    /// A track, whatever it is.
    void addTrack(const QByteArray& path) { tracks_.push_back({path, {}}); }

    [[nodiscard]] std::vector<ListedTrack>& tracks() noexcept { return tracks_; }

    /// Folders that were given and hold no track.
    [[nodiscard]] const std::vector<QByteArray>& emptyFolders() const noexcept { return emptyFolders_; }

private:
    /// Of a folder, by which it is known under any name.
    using Identity = std::pair<unsigned long long, unsigned long long>;

    bool addFolder(const QByteArray& folder);
    void addFound(const QByteArray& path, bool& hasTracks);

    std::vector<ListedTrack> tracks_;
    std::vector<QByteArray> emptyFolders_;
    std::set<Identity> foldersSeen_;
};

}  // namespace tunesift::cli
