#include "host/keyName.h"

#include <array>

namespace tunesift::host {

QString keyName(int number)
{
    static constexpr std::array kNames{"C",  "Am",  "G",  "Em",  "D",  "Bm",  "A",  "F#m",
                                       "E",  "C#m", "B",  "G#m", "F#", "D#m", "C#", "A#m",
                                       "G#", "Fm",  "D#", "Cm",  "A#", "Gm",  "F",  "Dm"};
    const bool known = number >= 0 && number < static_cast<int>(kNames.size());
    return known ? QString::fromLatin1(kNames[static_cast<std::size_t>(number)]) : QStringLiteral("-");
}

}  // namespace tunesift::host
