#include "analysis/keyText.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace {

std::string normalized(const char* text) { return normalizedKeyText(QString::fromUtf8(text)).toStdString(); }

int number(const char* text) { return keyNumber(QString::fromUtf8(text)); }

TEST(KeyText, AllKeysOfTheDetectorHaveTheirSpellingAndNumber)
{
    struct Case {
        const char* detected;
        const char* spelling;
        int number;
    };
    constexpr std::array<Case, 24> cases{
        {{"C:maj", "C", 0},    {"A:min", "Am", 1},    {"G:maj", "G", 2},    {"E:min", "Em", 3},
         {"D:maj", "D", 4},    {"B:min", "Bm", 5},    {"A:maj", "A", 6},    {"F#:min", "F#m", 7},
         {"E:maj", "E", 8},    {"C#:min", "Dbm", 9},  {"B:maj", "B", 10},   {"G#:min", "Abm", 11},
         {"F#:maj", "F#", 12}, {"D#:min", "Ebm", 13}, {"C#:maj", "Db", 14}, {"A#:min", "Bbm", 15},
         {"G#:maj", "Ab", 16}, {"F:min", "Fm", 17},   {"D#:maj", "Eb", 18}, {"C:min", "Cm", 19},
         {"A#:maj", "Bb", 20}, {"G:min", "Gm", 21},   {"F:maj", "F", 22},   {"D:min", "Dm", 23}}};
    for (const Case& c : cases) {
        EXPECT_EQ(normalized(c.detected), c.spelling);
        EXPECT_EQ(number(c.spelling), c.number) << c.spelling;
    }
}

TEST(KeyText, TheReplacementsActOneAfterTheOther)
{
    // Flats of minor keys become sharps first, and then some of them flats again.
    EXPECT_EQ(normalized("Db:min"), "Dbm");  // to "C#m" and back
    EXPECT_EQ(normalized("Gb:min"), "F#m");
    EXPECT_EQ(normalized("Ab:min"), "Abm");
    EXPECT_EQ(normalized("Gb:maj"), "F#");
    EXPECT_EQ(normalized("eb : min"), "Ebm");
}

TEST(KeyText, NoKeyStaysAsItIs)
{
    EXPECT_EQ(normalized("-"), "-");
    EXPECT_EQ(number("-"), -1);
    EXPECT_EQ(normalized(""), "");
    EXPECT_EQ(number(""), -1);
}

TEST(KeyText, WordsForMajorAndMinorAreUnderstood)
{
    EXPECT_EQ(number("C major"), 0);
    EXPECT_EQ(number("f# MAJ"), 12);
    EXPECT_EQ(number("Gb Major"), 12);
    EXPECT_EQ(number("A minor"), 1);
    EXPECT_EQ(number("Db min"), 9);
    EXPECT_EQ(number("EM"), 8) << "a capital M is major";
    EXPECT_EQ(number("Em"), 3) << "a small m is minor";
}

TEST(KeyText, MajorIsLookedForBeforeMinor)
{
    EXPECT_EQ(number("D major minor"), 4);
    EXPECT_EQ(number("D minor major"), 4) << "major is looked for first, wherever it stands";
}

TEST(KeyText, BothFlatAndSharpNamesAreUnderstood)
{
    EXPECT_EQ(number("A#"), 20);
    EXPECT_EQ(number("Bb"), 20);
    EXPECT_EQ(number("bb"), 20);
    EXPECT_EQ(number("A#m"), 15);
    EXPECT_EQ(number("Bbm"), 15);
}

TEST(KeyText, NumbersAndLettersOfTheCircleAreUnderstood)
{
    // The letters of the C major row are 8B, the numbers 1d; each fifth adds one to both.
    for (int fifth = 0; fifth < 12; ++fifth) {
        const QString form = QString::number(fifth + 1);
        const QString letters = QString::number((fifth + 7) % 12 + 1);
        EXPECT_EQ(keyNumber(form + QLatin1Char('d')), 2 * fifth);
        EXPECT_EQ(keyNumber(form + QLatin1Char('m')), 2 * fifth + 1);
        EXPECT_EQ(keyNumber(letters + QLatin1Char('B')), 2 * fifth);
        EXPECT_EQ(keyNumber(letters + QLatin1Char('a')), 2 * fifth + 1);
    }
}

TEST(KeyText, NumberFormsAreNoMajorNames)
{
    EXPECT_EQ(number("1d major"), -1);
    EXPECT_EQ(number("8B major"), -1);
    EXPECT_EQ(number("8A minor"), -1);
    EXPECT_EQ(number("1 minor"), 1);
}

TEST(KeyText, WhatFollowsABlankIsIgnored)
{
    EXPECT_EQ(number("C :"), 0);
    EXPECT_EQ(number(" C"), -1);
}

TEST(KeyText, UnknownTextHasNoNumber)
{
    for (const char* text : {"H", "Cb", "13d", "0m", "m", "M", "major", "8C", "\xC3\xA4"})
        EXPECT_EQ(number(text), -1) << text;
}

}  // namespace
