#include "host/keyName.h"

#include <gtest/gtest.h>

namespace {

using tunesift::host::keyName;

/// Semitones above C of a name's root.
int rootOf(const QString& name)
{
    const int natural = QStringLiteral("C D EF G A B").indexOf(name.at(0));
    return natural + (name.contains(QLatin1Char('#')) ? 1 : 0);
}

TEST(KeyName, GoesRoundTheCircleOfFifths)
{
    for (int fifth = 0; fifth < 12; ++fifth) {
        const QString major = keyName(2 * fifth);
        EXPECT_FALSE(major.endsWith(QLatin1Char('m'))) << major.toStdString();
        EXPECT_EQ(rootOf(major), fifth * 7 % 12) << major.toStdString();
    }
}

TEST(KeyName, EachMajorKeyIsFollowedByItsRelativeMinor)
{
    for (int fifth = 0; fifth < 12; ++fifth) {
        const QString minor = keyName(2 * fifth + 1);
        EXPECT_TRUE(minor.endsWith(QLatin1Char('m'))) << minor.toStdString();
        EXPECT_EQ(rootOf(minor), (rootOf(keyName(2 * fifth)) + 9) % 12) << minor.toStdString();
    }
}

TEST(KeyName, OfNoKeyIsADash)
{
    for (const int number : {-1, 24, -2147483647, 2147483647})
        EXPECT_EQ(keyName(number), QStringLiteral("-")) << number;
}

}  // namespace
