#include "analysis/keyText.h"

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

enum Column { kSharp, kFlat, kNumberForm, kLetterForm };
using Row = std::array<const char*, 4>;

// The row is the number: even ones are major keys, odd ones minor keys.
constexpr std::array<Row, 24> kKeys{
    {{"C", "C", "1d", "8B"},      {"Am", "Am", "1m", "8A"},    {"G", "G", "2d", "9B"},
     {"Em", "Em", "2m", "9A"},    {"D", "D", "3d", "10B"},     {"Bm", "Bm", "3m", "10A"},
     {"A", "A", "4d", "11B"},     {"F#m", "Gbm", "4m", "11A"}, {"E", "E", "5d", "12B"},
     {"C#m", "Dbm", "5m", "12A"}, {"B", "B", "6d", "1B"},      {"G#m", "Abm", "6m", "1A"},
     {"F#", "Gb", "7d", "2B"},    {"D#m", "Ebm", "7m", "2A"},  {"C#", "Db", "8d", "3B"},
     {"A#m", "Bbm", "8m", "3A"},  {"G#", "Ab", "9d", "4B"},    {"Fm", "Fm", "9m", "4A"},
     {"D#", "Eb", "10d", "5B"},   {"Cm", "Cm", "10m", "5A"},   {"A#", "Bb", "11d", "6B"},
     {"Gm", "Gm", "11m", "6A"},   {"F", "F", "12d", "7B"},     {"Dm", "Dm", "12m", "7A"}}};

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

int findRow(const QString& text, std::size_t firstRow, std::size_t rowStep, Column lastColumn)
{
    for (std::size_t row = firstRow; row < kKeys.size(); row += rowStep) {
        for (std::size_t column = kSharp; column <= lastColumn; ++column) {
            if (text.compare(QLatin1String(kKeys[row][column]), Qt::CaseInsensitive) == 0)
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
        return findRow(name, 0, 2, kFlat);
    case Kind::kMinor:
        return findRow(name + QLatin1Char('m'), 1, 2, kNumberForm);
    case Kind::kUnknown:
        break;
    }
    return findRow(name, 0, 1, kLetterForm);
}
