#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tunesift::cli {

/// One of several equal shares of all paths. Which share a path belongs to depends on its bytes alone, so
/// that machines which know nothing of each other divide a library between them.
struct Shard {
    int index = 1;  ///< From 1.
    int count = 1;

    bool operator==(const Shard&) const = default;

    [[nodiscard]] bool holds(const QByteArray& path) const;

    /// As parsed: "2/8".
    [[nodiscard]] QString text() const;

    /// Nothing unless it is "I/N" with I from 1 to N.
    [[nodiscard]] static std::optional<Shard> parse(const QString& text);
};

}  // namespace tunesift::cli
