#include "host/keyName.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using tunesift::host::keyName;

struct Expected {
    const char* musical;
    const char* numberForm;
    const char* letterForm;
};

TEST(KeyName, NamesAllKeysInThreeForms)
{
    constexpr std::array<Expected, 24> kExpected{{
        {"C major", "1d", "8B"},   {"A minor", "1m", "8A"},   {"G major", "2d", "9B"},
        {"E minor", "2m", "9A"},   {"D major", "3d", "10B"},  {"B minor", "3m", "10A"},
        {"A major", "4d", "11B"},  {"F# minor", "4m", "11A"}, {"E major", "5d", "12B"},
        {"C# minor", "5m", "12A"}, {"B major", "6d", "1B"},   {"G# minor", "6m", "1A"},
        {"F# major", "7d", "2B"},  {"D# minor", "7m", "2A"},  {"Db major", "8d", "3B"},
        {"Bb minor", "8m", "3A"},  {"Ab major", "9d", "4B"},  {"F minor", "9m", "4A"},
        {"Eb major", "10d", "5B"}, {"C minor", "10m", "5A"},  {"Bb major", "11d", "6B"},
        {"G minor", "11m", "6A"},  {"F major", "12d", "7B"},  {"D minor", "12m", "7A"},
    }};
    for (int number = 0; number < 24; ++number) {
        const auto& expected = kExpected.at(static_cast<std::size_t>(number));
        const auto name = keyName(number);
        EXPECT_EQ(name.musical.toStdString(), expected.musical);
        EXPECT_EQ(name.numberForm.toStdString(), expected.numberForm);
        EXPECT_EQ(name.letterForm.toStdString(), expected.letterForm);
    }
}

TEST(KeyName, OfNoKeyIsADash)
{
    for (const int number : {-1, 24, -2147483647, 2147483647}) {
        EXPECT_EQ(keyName(number).musical, QStringLiteral("-")) << number;
        EXPECT_EQ(keyName(number).numberForm, QStringLiteral("-")) << number;
        EXPECT_EQ(keyName(number).letterForm, QStringLiteral("-")) << number;
    }
}

}  // namespace
