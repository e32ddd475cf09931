#include "analysis/keyText.h"

#include "key/keyTable.h"

#include <array>

namespace {

struct Replacement {
    const char* find;
    const char* replaceBy;
};

// One after the other on the whole text: the later ones also rewrite the minor keys ("C#m" to "Dbm").
constexpr std::array<Replacement, 10> kReplacements{{{"Gbm", "F#m"},
                                                     {"Dbm", "C#m"},
                                                     {"Abm", "G#m"},
                                                     {"Gb", "F#"},
                                                     {"Ebm", "D#m"},
                                                     {"C#", "Db"},
                                                     {"A#m", "Bbm"},
                                                     {"G#", "Ab"},
                                                     {"D#", "Eb"},
                                                     {"A#", "Bb"}}};

using Column = const char* KeySpelling::*;
constexpr std::array<Column, 4> kColumns{&KeySpelling::sharp, &KeySpelling::flat, &KeySpelling::numberForm,
                                         &KeySpelling::letterForm};
constexpr std::size_t kNames = 2;           // the first columns: sharp and flat
constexpr std::size_t kNamesAndNumber = 3;  // and the number form

enum class Kind { kUnknown, kMajor, kMinor };

struct KindMark {
    const char* text;
    Qt::CaseSensitivity sensitivity;
    Kind kind;
};

constexpr std::array<KindMark, 4> kKindMarks{{{"Ma", Qt::CaseInsensitive, Kind::kMajor},
                                              {"Mi", Qt::CaseInsensitive, Kind::kMinor},
                                              {"M", Qt::CaseSensitive, Kind::kMajor},
                                              {"m", Qt::CaseSensitive, Kind::kMinor}}};

/// Finds the word that tells major from minor and cuts the text before it.
Kind takeKind(QString& text)
{
    for (const KindMark& mark : kKindMarks) {
        const int place = text.indexOf(QLatin1String(mark.text), 0, mark.sensitivity);
        if (place >= 0) {
            text.truncate(place);
            return mark.kind;
        }
    }
    return Kind::kUnknown;
}

int findRow(const QString& text, std::size_t firstRow, std::size_t rowStep, std::size_t columns)
{
    for (std::size_t row = firstRow; row < kKeyTable.size(); row += rowStep) {
        for (std::size_t column = 0; column < columns; ++column) {
            if (text.compare(QLatin1String(kKeyTable[row].*kColumns[column]), Qt::CaseInsensitive) == 0)
                return static_cast<int>(row);
        }
    }
    return -1;
}

}  // namespace

QString normalizedKeyText(const QString& text)
{
    if (text.isEmpty())
        return text;
    QString key = text.toUpper();
    key.replace(QLatin1Char(':'), QLatin1Char(' '));
    key.remove(QLatin1Char(' '));
    key.remove(QLatin1String("MAJ"), Qt::CaseInsensitive);
    key.replace(QLatin1String("MIN"), QLatin1String("m"), Qt::CaseInsensitive);
    for (const Replacement& replacement : kReplacements)
        key.replace(QLatin1String(replacement.find), QLatin1String(replacement.replaceBy),
                    Qt::CaseInsensitive);
    return key;
}

int keyNumber(const QString& text)
{
    if (text.isEmpty())
        return -1;
    QString name = text;
    const Kind kind = takeKind(name);
    const int blank = name.indexOf(QLatin1Char(' '));
    if (blank >= 0)
        name.truncate(blank);

    switch (kind) {
    case Kind::kMajor:
        return findRow(name, 0, 2, kNames);
    case Kind::kMinor:
        return findRow(name + QLatin1Char('m'), 1, 2, kNamesAndNumber);
    case Kind::kUnknown:
        break;
    }
    return findRow(name, 0, 1, kColumns.size());
}
