#pragma once

#include <QByteArray>
#include <QString>

/// A path is bytes; a QString is not. These take one to the other and back without loss, as far as it goes.
namespace tunesift::cli {

/// The bytes as text from which bytesOfText gets every one of them back: what is no UTF-8 becomes lone
/// surrogates. For command lines, not for people.
[[nodiscard]] QString textOfBytes(const QByteArray& bytes);

/// The reverse of textOfBytes.
[[nodiscard]] QByteArray bytesOfText(const QString& text);

/// The path as people and programs may read it, with replacement characters for what is no UTF-8.
[[nodiscard]] QString readablePath(const QByteArray& path);

/// Whether readablePath tells the whole path.
[[nodiscard]] bool isReadable(const QByteArray& path);

/// What stands behind the last dot of the file's name, in lower case; empty if there is none.
[[nodiscard]] QByteArray extensionOf(const QByteArray& path);

/// Whether the name is one of an audio file that workers read.
[[nodiscard]] bool hasKnownExtension(const QByteArray& path);

/// Whether the path is one of another device, which only a worker can look at.
[[nodiscard]] bool isOnAnotherDevice(const QByteArray& path);

}  // namespace tunesift::cli
