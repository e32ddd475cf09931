#include "host/keyName.h"

#include "key/keyTable.h"

namespace tunesift::host {

namespace {

// Up to here round the circle of fifths sharps need no more accidentals than flats: F# major and D# minor.
constexpr std::size_t kLastSharpKey = 13;

QString musicalName(std::size_t number)
{
    const KeySpelling& spelling = kKeyTable[number];
    QString name = QLatin1String(number <= kLastSharpKey ? spelling.sharp : spelling.flat);
    if (!name.endsWith(QLatin1Char('m')))
        return name + QStringLiteral(" major");
    name.chop(1);
    return name + QStringLiteral(" minor");
}

}  // namespace

KeyName keyName(int number)
{
    const auto row = static_cast<std::size_t>(number);  // a negative number becomes a large one
    if (row >= kKeyTable.size()) {
        const QString none = QStringLiteral("-");
        return {none, none, none};
    }
    return {musicalName(row), QLatin1String(kKeyTable[row].numberForm),
            QLatin1String(kKeyTable[row].letterForm)};
}

}  // namespace tunesift::host
