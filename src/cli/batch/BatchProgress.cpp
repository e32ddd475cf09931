#include "cli/batch/BatchProgress.h"

#include "cli/duration.h"
#include "cli/output.h"

#include <unistd.h>

namespace tunesift::cli {
namespace {

constexpr qint64 kPauseMilliseconds = 100;
constexpr qint64 kWidth = 20;  // characters between the brackets

QString lineFor(const BatchCount& count, double elapsed)
{
    const qint64 filled = count.total > 0 ? count.done * kWidth / count.total : kWidth;
    QString line = QStringLiteral("\r[%1%2] %3 of %4")
                       .arg(QString(static_cast<int>(filled), QLatin1Char('#')),
                            QString(static_cast<int>(kWidth - filled), QLatin1Char('.')))
                       .arg(count.done)
                       .arg(count.total);
    if (count.failed > 0)
        line += QStringLiteral(", %1 failed").arg(count.failed);
    if (elapsed > 0.0 && count.musicSeconds > 0.0)
        line += QStringLiteral(", %1 times real time").arg(count.musicSeconds / elapsed, 0, 'f', 0);
    if (count.done > 0)
        line += QStringLiteral(", %1 left")
                    .arg(duration(elapsed / static_cast<double>(count.done) *
                                  static_cast<double>(count.total - count.done)));
    return line + QStringLiteral("\x1b[K");
}

}  // namespace

BatchProgress::BatchProgress() : isOnTerminal_(isatty(STDERR_FILENO) == 1) { clock_.start(); }

void BatchProgress::show(const BatchCount& count)
{
    if (!isOnTerminal_ || clock_.elapsed() < nextAt_)
        return;
    nextAt_ = clock_.elapsed() + kPauseMilliseconds;
    isShown_ = true;
    complain(lineFor(count, elapsed()));
}

void BatchProgress::clear()
{
    if (!isShown_)
        return;
    isShown_ = false;
    complain(QStringLiteral("\r\x1b[K"));
}

double BatchProgress::elapsed() const
{
    constexpr double kNanosecond = 1e-9;
    return static_cast<double>(clock_.nsecsElapsed()) * kNanosecond;
}

}  // namespace tunesift::cli
