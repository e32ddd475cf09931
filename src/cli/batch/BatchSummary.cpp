#include "cli/batch/BatchSummary.h"

#include "cli/duration.h"
#include "cli/rows/pathText.h"

#include <algorithm>

namespace tunesift::cli {

QString BatchSummary::text() const
{
    // What stands in a row of its own need not fill the screen.
    constexpr std::size_t kMostNamed = 50;
    QString text = QStringLiteral("tunesift: %1 tracks: %2 analysed, %3 failed")
                       .arg(count.total + skipped)
                       .arg(count.done - count.failed)
                       .arg(count.failed);
    if (skipped > 0) {
        text += QStringLiteral(", %1 there already").arg(skipped);
        if (skippedFailed > 0)
            text += QStringLiteral(" (%1 of them failed)").arg(skippedFailed);
    }
    if (count.musicSeconds > 0.0 && elapsed > 0.0)
        text += QStringLiteral("; %1 of music in %2, %3 times real time")
                    .arg(duration(count.musicSeconds), duration(elapsed))
                    .arg(count.musicSeconds / elapsed, 0, 'f', 0);
    text += QLatin1Char('\n');
    for (std::size_t i = 0; i < std::min(failed.size(), kMostNamed); ++i)
        text += QStringLiteral("  %1: ").arg(failed[i].second, -13) + readablePath(failed[i].first) +
                QLatin1Char('\n');
    if (failed.size() > kMostNamed)
        text += QStringLiteral("  and %1 more\n").arg(failed.size() - kMostNamed);
    return text;
}

}  // namespace tunesift::cli
