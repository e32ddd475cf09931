#include "network/nfs/ServedPaths.h"

#include "network/nfs/mappedPath.h"

#include <QDir>

#include <algorithm>
#include <climits>
#include <filesystem>
#include <system_error>

namespace {

QByteArray localPathOf(const QUrl& url)
{
    return (url.isLocalFile() ? url.toLocalFile() : url.path(QUrl::FullyDecoded)).toUtf8();
}

bool isBelow(const QByteArray& path, const QByteArray& directory)
{
    if (!path.startsWith(directory))
        return false;
    return path.size() == directory.size() || directory.endsWith('/') || path.at(directory.size()) == '/';
}

/// Without links and "..", as far as the path exists; nothing if it cannot be followed. The system takes no
/// longer path, and the time that a lying one costs stays small.
std::optional<QByteArray> canonical(const QByteArray& path)
{
    if (path.size() >= PATH_MAX)
        return std::nullopt;
    std::error_code error;
    const auto result = std::filesystem::weakly_canonical(path.toStdString(), error);
    if (error)
        return std::nullopt;
    QByteArray bytes = QByteArray::fromStdString(result.native());
    if (bytes.size() > 1 && bytes.endsWith('/'))
        bytes.chop(1);
    return bytes;
}

}  // namespace

bool ServedPaths::mount(const QUrl& url, const QString& name, std::int64_t fileSizeLimit)
{
    if (mounts_.contains(url) || findName(name) != mounts_.cend())
        return false;
    const QByteArray path = localPathOf(url);
    const QByteArray cleanPath = QDir::cleanPath(QString::fromUtf8(path)).toUtf8();
    mounts_.insert(url, {name, fileSizeLimit, canonical(path).value_or(cleanPath)});
    return true;
}

bool ServedPaths::unmount(const QUrl& url) { return mounts_.remove(url) > 0; }

QStringList ServedPaths::names() const
{
    QStringList result;
    for (const Mount& mount : mounts_)
        result.append(mount.name);
    result.sort();
    return result;
}

ServedPaths::Mounts::const_iterator ServedPaths::findName(const QString& name) const
{
    return std::find_if(mounts_.cbegin(), mounts_.cend(),
                        [&](const Mount& mount) { return mount.name == name; });
}

bool ServedPaths::toLocalUrl(const QString& path, QUrl& url) const
{
    if (path.isEmpty() || path.contains(QChar(u'\0')) || !path.isValidUtf16())
        return false;
    if (path.size() == 1) {
        url = QUrl();
        return true;
    }
    const int nameEnd = path.indexOf(QLatin1Char('/'), 1);
    const auto found = findName(path.mid(1, nameEnd < 0 ? -1 : nameEnd - 1));
    if (found == mounts_.cend())
        return false;

    QByteArray wanted = localPathOf(found.key());
    if (nameEnd >= 0) {
        if (wanted.endsWith('/'))
            wanted.chop(1);
        wanted += path.midRef(nameEnd).toUtf8();
    }
    QByteArray local = policy_.plainNames ? mappedPathOrPlain(wanted) : mappedPath(wanted);
    if (policy_.confined) {
        auto inside = confined(local);
        if (!inside)
            return false;
        local = *std::move(inside);
    }
    url = found.key();
    url.setPath(QString::fromUtf8(local), QUrl::DecodedMode);
    return true;
}

std::optional<QByteArray> ServedPaths::confined(const QByteArray& localPath) const
{
    auto path = canonical(localPath);
    // A target whose name is no text would turn into the name of another file on its way through the URL.
    if (!path || QString::fromUtf8(*path).toUtf8() != *path)
        return std::nullopt;
    const bool isInside = std::any_of(mounts_.cbegin(), mounts_.cend(), [&](const Mount& mount) {
        return isBelow(*path, mount.canonicalPath);
    });
    return isInside ? path : std::nullopt;
}

std::int64_t ServedPaths::fileSizeLimitOf(const QString& localPath) const
{
    const QByteArray path = localPath.toUtf8();
    int longest = -1;
    std::int64_t limit = kNoLimit;
    for (auto mount = mounts_.cbegin(); mount != mounts_.cend(); ++mount) {
        for (const QByteArray& prefix : {localPathOf(mount.key()), mount->canonicalPath}) {
            if (path.startsWith(prefix) && prefix.size() > longest) {
                longest = prefix.size();
                limit = mount->fileSizeLimit;
            }
        }
    }
    return limit;
}

QStringList ServedPaths::urlPrefixesOf(const QUrl& url) const
{
    QStringList result{url.toString()};
    const auto mount = mounts_.constFind(url);
    if (mount == mounts_.cend() || !policy_.confined)
        return result;
    QUrl real = url;
    real.setPath(QString::fromUtf8(mount->canonicalPath), QUrl::DecodedMode);
    if (real != url)
        result.append(real.toString());
    return result;
}
