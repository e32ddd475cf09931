#pragma once

#include "cli/AnalyzeOptions.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QStringList>

#include <optional>

namespace tunesift::cli {

/// "-discoPort PORT", which discovery itself takes from the command line, in this one spelling; verbs only
/// check and explain it. Their parser must take words behind a single dash as long options.
[[nodiscard]] QCommandLineOption discoveryPortOption();

/// What is wrong with the port on this command line, if anything.
[[nodiscard]] std::optional<UsageError> discoveryPortProblem(const QCommandLineParser& parser,
                                                             const QCommandLineOption& option,
                                                             const QStringList& arguments);

/// A parser's help text, which writes two dashes in front of every long name, with one in front of this.
[[nodiscard]] QString withSingleDash(QString helpText);

/// A whole number from 1 to `highest`; nothing if the text is none.
[[nodiscard]] std::optional<int> numberIn(const QString& text, int highest);

/// The complaint about one that is not.
[[nodiscard]] UsageError notANumber(const QString& option, int highest, const QString& value);

}  // namespace tunesift::cli
