#pragma once

#include <QByteArray>

/// A component of a path as it stands on disk: bytes that the file systems of other devices cannot hold are
/// replaced by characters of a private range, U+F081 to U+F0A7, and so is a blank (U+F028) or a dot (U+F029)
/// at the end. "." and ".." stand for themselves.
[[nodiscard]] QByteArray mappedName(const QByteArray& name);

/// A path in UTF-8 with every component mapped, but for a drive ("C:") in its first place. Keeps repeated
/// slashes.
[[nodiscard]] QByteArray mappedPath(const QByteArray& path);

/// The same, but where no file has a mapped name and one has the name itself, that stays. Looks at the disk
/// for the names that differ only. An absolute path; one too long for the system is mapped without a look.
[[nodiscard]] QByteArray mappedPathOrPlain(const QByteArray& path);
