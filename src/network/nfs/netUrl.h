#pragma once

#include <QString>
#include <QUrl>
#include <QUuid>

/// Names of files on other devices: "net://" + uuid of the device without braces + path, or "/net:/" + the
/// rest, which is what remains of the former when something has folded its double slash.
namespace eboNetUrl {

inline constexpr char kPrefix[] = "net://";
inline constexpr char kPathPrefix[] = "/net:/";

[[nodiscard]] QString prefix();
[[nodiscard]] QString pathPrefix();

/// Whether a path as users give it names a file on another device; by its beginning, case-sensitively.
[[nodiscard]] bool isNetPath(const QString& path);

/// The URL of such a path. Everything but "/" and ":" is taken literally, so a "?" or "%" in a name is safe.
[[nodiscard]] QUrl toUrl(const QString& netPath);

/// The path of a URL as messages tell it: beginning with "/", nothing encoded.
[[nodiscard]] QString pathOf(const QUrl& url);

/// The device that a URL names; null if it names none.
[[nodiscard]] QUuid deviceOf(const QUrl& url);

/// The URL of a device's root.
[[nodiscard]] QUrl rootOf(const QUuid& device);

}  // namespace eboNetUrl
