#pragma once

#include <QString>

namespace tunesift::cli {

/// Where a program of ours lies: beside tunesift, or where an installation puts what people do not call.
[[nodiscard]] QString programPath(const QString& name);

/// The program that decodes files apart from us.
[[nodiscard]] inline QString probePath() { return programPath(QStringLiteral("tunesift-probe")); }

/// The worker.
[[nodiscard]] inline QString workerPath() { return programPath(QStringLiteral("tunesift-worker")); }

}  // namespace tunesift::cli
