#pragma once

#include <QByteArray>
#include <QString>

namespace tunesift::cli {

/// Writes to standard output, in UTF-8 and at once.
void print(const QString& text);

/// Writes bytes to standard output as they are, at once.
void printBytes(const QByteArray& bytes);

/// Writes to standard error, in UTF-8 and at once.
void complain(const QString& text);

/// Whether everything printed so far has reached standard output.
[[nodiscard]] bool outputIsGood();

}  // namespace tunesift::cli
