#include "cli/ProgressBar.h"

#include "cli/output.h"

#include <QFileInfo>

#include <unistd.h>

namespace tunesift::cli {
namespace {

constexpr int kWidth = 30;  // characters between the brackets

// Longer names would wrap on a terminal of 80 columns, and a wrapped line cannot be cleared.
constexpr int kLongestName = 40;

}  // namespace

ProgressBar::ProgressBar() : isOnTerminal_(isatty(STDERR_FILENO) == 1) {}

void ProgressBar::begin(const QString& path)
{
    clear();
    name_ = QFileInfo(path).fileName().left(kLongestName);
    show(0.0);
}

void ProgressBar::show(double share)
{
    const int percent = qRound(share * 100.0);
    if (!isOnTerminal_ || percent == percentShown_)
        return;
    percentShown_ = percent;
    const int done = percent * kWidth / 100;
    complain(QStringLiteral("\r[%1%2] %3% %4")
                 .arg(QString(done, QLatin1Char('#')), QString(kWidth - done, QLatin1Char('.')))
                 .arg(percent, 3)
                 .arg(name_));
}

void ProgressBar::clear()
{
    if (percentShown_ < 0)
        return;
    percentShown_ = -1;
    complain(QStringLiteral("\r\x1b[K"));
}

}  // namespace tunesift::cli
