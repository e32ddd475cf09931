#include "cli/duration.h"

#include <algorithm>

namespace tunesift::cli {

QString duration(double seconds)
{
    constexpr double kBeyondAllMusic = 1e9;
    constexpr qint64 kSixty = 60;
    const qint64 whole = qRound64(std::clamp(seconds, 0.0, kBeyondAllMusic));
    const auto twoDigits = [](qint64 number) {
        return QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0'));
    };
    const qint64 minutes = whole / kSixty;
    const QString last = twoDigits(whole % kSixty);
    if (minutes < kSixty)
        return QStringLiteral("%1:%2").arg(minutes).arg(last);
    return QStringLiteral("%1:%2:%3").arg(minutes / kSixty).arg(twoDigits(minutes % kSixty), last);
}

}  // namespace tunesift::cli
