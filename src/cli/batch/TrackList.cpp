#include "cli/batch/TrackList.h"

#include "cli/rows/pathText.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace tunesift::cli {
namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { closedir(folder); }
};

/// The names in a folder, sorted, without the hidden ones; nothing if it cannot be listed.
std::optional<std::vector<QByteArray>> namesIn(const QByteArray& folder)
{
    const std::unique_ptr<DIR, CloseFolder> handle(opendir(folder.constData()));
    if (!handle)
        return {};
    std::vector<QByteArray> names;
    while (const dirent* entry = readdir(handle.get())) {
        if (entry->d_name[0] != '.')
            names.emplace_back(entry->d_name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

bool isFolder(const QByteArray& path)
{
    struct stat status {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

void TrackList::add(const QByteArray& path)
{
    if (isOnAnotherDevice(path) || !isFolder(path)) {
        addTrack(path);
        return;
    }
    foldersSeen_.clear();  // a folder that is given twice is there twice
    if (!addFolder(path))
        emptyFolders_.push_back(path);
}

bool TrackList::addFolder(const QByteArray& folder)
{
    struct stat status {};
    if (stat(folder.constData(), &status) == 0 && !foldersSeen_.insert({status.st_dev, status.st_ino}).second)
        return true;  // links that lead round in a circle
    const auto names = namesIn(folder);
    if (!names) {
        tracks_.push_back({folder, Failure{errno == EACCES ? kPermission : kNotFound,
                                           QStringLiteral("the folder cannot be listed: %1")
                                               .arg(QString::fromLocal8Bit(std::strerror(errno)))}});
        return true;
    }
    bool hasTracks = false;
    for (const QByteArray& name : *names)
        addFound(folder.endsWith('/') ? folder + name : folder + '/' + name, hasTracks);
    return hasTracks;
}

void TrackList::addFound(const QByteArray& path, bool& hasTracks)
{
    const bool looksLikeATrack = hasKnownExtension(path);
    if (isFolder(path)) {
        if (addFolder(path))
            hasTracks = true;
        else if (looksLikeATrack)
            addTrack(path);  // and fails as such, for whoever wonders where that track is
        else
            return;
        hasTracks = true;
    } else if (looksLikeATrack) {
        addTrack(path);
        hasTracks = true;
    }
}

std::optional<QString> TrackList::addFrom(const QByteArray& file, bool isNulSeparated)
{
    QFile list(QFile::decodeName(file));
    const bool isOpen = file == "-" ? list.open(stdin, QIODevice::ReadOnly) : list.open(QIODevice::ReadOnly);
    if (!isOpen)
        return list.errorString();
    const QByteArray bytes = list.readAll();
    if (list.error() != QFileDevice::NoError)
        return list.errorString();
    for (const QByteArray& path : bytes.split(isNulSeparated ? '\0' : '\n')) {
        if (!path.isEmpty())
            addTrack(path);
    }
    return {};
}

}  // namespace tunesift::cli
