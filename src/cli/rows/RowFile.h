#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace tunesift::cli {

/// A file that rows are appended to, each by one write, so that it holds whole lines whenever it is looked
/// at. One process at a time.
class RowFile {
public:
    RowFile() = default;
    ~RowFile();
    RowFile(const RowFile&) = delete;
    RowFile& operator=(const RowFile&) = delete;

    /// Opens the file, made if it is not there. What a process that was killed left of a row at its end is
    /// cut off; another last line without an end gets one.
    /// @return what went wrong, if anything
    [[nodiscard]] std::optional<QString> open(const QString& path);

    [[nodiscard]] bool isOpen() const noexcept { return descriptor_ >= 0; }

    /// Whether nothing has been written to it, by anybody.
    [[nodiscard]] bool isEmpty() const;

    /// Everything that is in it.
    [[nodiscard]] QByteArray content() const;

    /// Appends whole lines. What could be written of them only in part is taken back.
    /// @return what went wrong, if anything
    [[nodiscard]] std::optional<QString> append(const QByteArray& lines);

private:
    [[nodiscard]] std::optional<QString> mendTheEnd();

    int descriptor_ = -1;
};

}  // namespace tunesift::cli
