#include "cli/doctor/Examination.h"

#include <algorithm>

namespace tunesift::cli {

bool Examination::isWell() const
{
    return std::none_of(lines_.begin(), lines_.end(),
                        [](const Line& line) { return line.kind == Kind::kIll; });
}

QString Examination::text() const
{
    constexpr int kNameWidth = 26;
    QString text;
    for (const Line& line : lines_) {
        const char* mark = line.kind == Kind::kNote   ? "      "
                           : line.kind == Kind::kWell ? "  ok  "
                                                      : "  BAD ";
        text += QLatin1String(mark) + line.name.leftJustified(kNameWidth) + QLatin1Char(' ') + line.value +
                QLatin1Char('\n');
    }
    return text;
}

}  // namespace tunesift::cli
