// Help, manuals and completions tell the same.

#include "CliRun.h"
#include "support/AudioFiles.h"

#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSupersetOf;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

QString source(const QString& path)
{
    return QString::fromStdString(testsupport::readWholeFile(SOURCE_DIR "/" + path.toStdString()));
}

/// The verbs that the general help lists.
QStringList verbs()
{
    QStringList names;
    const QString help =
        runCli({text("--help")}).output.section(text("Verbs:\n"), 1).section(text("\n\n"), 0, 0);
    for (const QString& line : help.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        names << line.trimmed().section(QLatin1Char(' '), 0, 0);
    return names;
}

/// The options in the help of a verb, with their dashes.
QStringList optionsOf(const QString& verb)
{
    QStringList names;
    static const QRegularExpression option(text("^ +((-[\\w-]+(, )?)+)"),
                                           QRegularExpression::MultilineOption);
    const QString help = runCli({verb, text("--help")}).output;
    for (auto at = option.globalMatch(help); at.hasNext();)
        names << at.next().captured(1).split(text(", "));
    return names;
}

QStringList completedBy(const QStringList& words)
{
    QProcess bash;
    bash.start(text("bash"),
               QStringList{text("-c"),
                           text("source \"$0\"; COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); _tunesift; "
                                "printf '%s\\n' \"${COMPREPLY[@]}\""),
                           text(SOURCE_DIR "/completions/tunesift.bash")} +
                   words);
    return outcomeOf(bash).output.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

std::vector<std::string> plain(const QStringList& list)
{
    std::vector<std::string> strings;
    for (const QString& string : list)
        strings.push_back(string.toStdString());
    return strings;
}

TEST(Manual, OfEveryVerbHasEveryOption)
{
    ASSERT_GE(verbs().size(), 7);
    const QString general = source(text("docs/man/tunesift.1"));
    for (const QString& verb : verbs()) {
        EXPECT_THAT(general.toStdString(), HasSubstr(".BR " + verb.toStdString() + " "));
        const QString manual =
            source(QStringLiteral("docs/man/tunesift-%1.1").arg(verb)).replace(text("\\-"), text("-"));
        ASSERT_FALSE(optionsOf(verb).isEmpty()) << verb.toStdString();
        for (const QString& option : optionsOf(verb))
            EXPECT_THAT(manual.toStdString(), HasSubstr(option.toStdString())) << verb.toStdString();
    }
}

TEST(BashCompletion, KnowsEveryVerbAndEveryLongOption)
{
    EXPECT_THAT(plain(completedBy({text("tunesift"), QString()})), IsSupersetOf(plain(verbs())));
    for (const QString& verb : verbs()) {
        QStringList longOptions = optionsOf(verb).filter(text("--"));
        EXPECT_THAT(plain(completedBy({text("tunesift"), verb, text("--")})),
                    IsSupersetOf(plain(longOptions)))
            << verb.toStdString();
    }
}

TEST(BashCompletion, CompletesWhatHasBegun)
{
    EXPECT_THAT(plain(completedBy({text("tunesift"), text("an")})), ElementsAre("analyze"));
    EXPECT_THAT(plain(completedBy({text("tunesift"), text("analyze"), text("--re")})),
                ElementsAre("--resume", "--retry-failed"));
    EXPECT_THAT(plain(completedBy({text("tunesift"), text("analyze"), text("-o"), text(SOURCE_DIR "/READ")})),
                ElementsAre(SOURCE_DIR "/README.md"));
}

TEST(ZshCompletion, NamesEveryVerbAndEveryOption)
{
    const std::string script = source(text("completions/_tunesift")).toStdString();
    for (const QString& verb : verbs()) {
        EXPECT_THAT(script, HasSubstr('\'' + verb.toStdString() + ':'));
        for (const QString& option : optionsOf(verb))
            EXPECT_THAT(script, HasSubstr(option.toStdString())) << verb.toStdString();
    }
}

}  // namespace
