// A library as people have them, three hundred tracks of all formats with twenty bad ones among them, through
// the real worker, which misbehaves at three of them.

#include "CliRun.h"
#include "host/ChildProcess.h"
#include "support/AudioFiles.h"
#include "support/eventually.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace clitest;
using testsupport::eventually;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class Library : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        folder_ = std::make_unique<TrackFolder>();
        makeGoodOnes();
        makeBadOnes();
    }
    static void TearDownTestSuite() { folder_.reset(); }

    static QString path(const QString& name) { return folder_->path(text("lib/") + name); }

    /// Encodes one piece of sound in every format and copies it under many names, some of them awkward.
    static void makeGoodOnes()
    {
        QDir(folder_->path({})).mkpath(text("lib/more/and more"));
        const QStringList extensions =
            text("wav aif aiff flac oga mp3 m4a mp4 aac ogg").split(QLatin1Char(' '));
        const testsupport::Pcm pcm = testsupport::testPcm(3 * 44100, 44100, 2, 16);
        for (const QString& extension : extensions) {
            const QString first = path(text("0.") + extension);
            if (extension == text("ogg"))
                testsupport::encodeVorbis(first.toStdString(), pcm);
            else if (extension == text("flac") || extension == text("oga"))
                testsupport::encodeFlac(first.toStdString(), pcm);
            else
                testsupport::makeAudioFile(first.toStdString(), 3, 44100, 2);
            for (int i = 1; i < 28; ++i) {
                const char* pattern = i % 3 == 0   ? "more/%1.%2"
                                      : i % 3 == 1 ? "more/and more/%1.%2"
                                                   : "%1.%2";
                ASSERT_TRUE(QFile::copy(first, path(text(pattern).arg(i).arg(extension))));
            }
        }
        const auto rename = [](const char* from, const QByteArray& to) {
            ASSERT_EQ(::rename(QFile::encodeName(path(text(from))).constData(),
                               (QFile::encodeName(path({})) + to).constData()),
                      0);
        };
        rename("2.mp3", "a line\nbreak.mp3");
        rename("5.mp3", "\"quotes\" 'and' \\ such.mp3");
        rename("8.mp3", "no utf-8 \xFF\xC3.mp3");
    }

    static void makeBadOnes()
    {
        const auto write = [](const char* name, const std::string& bytes) {
            testsupport::writeWholeFile(path(text(name)).toStdString(), bytes);
        };
        const std::string mp3 = testsupport::readWholeFile(path(text("0.mp3")).toStdString());
        const std::string flac = testsupport::readWholeFile(path(text("0.flac")).toStdString());
        write("empty.wav", {});
        write("empty.mp3", {});
        write("empty.ogg", {});
        write("cut.mp3", mp3.substr(0, mp3.size() / 2));
        write("cut.flac", flac.substr(0, flac.size() / 2));
        write("only the head.flac", flac.substr(0, 100));
        write("text.flac", "this is no music");
        write("text.mp3", "this is no music");
        write("text.wav", "this is no music");
        write("text.ogg", "this is no music");
        write("zeros.m4a", std::string(100000, '\0'));
        write("noise.oga", std::string(5000, '\x5a'));
        write("more/vorbis by name.flac", testsupport::readWholeFile(path(text("0.ogg")).toStdString()));
        ASSERT_EQ(mkfifo(QFile::encodeName(path(text("fifo.wav"))).constData(), 0600), 0);
        ASSERT_TRUE(QDir(path({})).mkpath(text("folder.mp3")));
        write("secret.wav", "x");
        ASSERT_TRUE(QFile::setPermissions(path(text("secret.wav")), {}));
        ASSERT_TRUE(QFile::link(text("/nowhere/at all.mp3"), path(text("dangling.mp3"))));
        for (const char* name : {"crashes.mp3", "stalls.mp3", "eats-memory.mp3"})
            write(name, mp3);
    }

    /// Starts an analysis of the library, without the rights that root has over files.
    static void start(QProcess& process, const QStringList& options)
    {
        QStringList command{QStringLiteral(TUNESIFT),     text("analyze"),   text("--worker"),
                            QStringLiteral(MIXED_WORKER), text("--timeout"), text("8")};
        if (geteuid() == 0)
            command =
                QStringList{text("setpriv"), text("--bounding-set=-dac_override,-dac_read_search")} + command;
        process.start(command.takeFirst(), command + options + QStringList{path({})});
        ASSERT_TRUE(process.waitForStarted());
    }

    static CliOutcome analyzeLibrary(const QStringList& options)
    {
        QProcess process;
        start(process, options);
        return outcomeOf(process);
    }

    static QString contentOf(const QString& file)
    {
        QFile read(file);
        return read.open(QIODevice::ReadOnly) ? QString::fromUtf8(read.readAll()) : QString();
    }

    static QString rowsFile() { return folder_->path(text("rows")); }

    /// The rows of a run that nothing disturbed.
    static const QStringList& reference()
    {
        static const QStringList rows = timelessRows(analyzeLibrary({text("--json"), text("-j1")}).output);
        return rows;
    }

    static std::unique_ptr<TrackFolder> folder_;
};

std::unique_ptr<TrackFolder> Library::folder_;

TEST_F(Library, HasTwoHundredAndEightyResultsAndTwentyFailures)
{
    std::map<QString, int> kinds;
    for (const QString& row : reference()) {
        const QString kind = row.section(text("\"kind\":\""), 1, 1).section(QLatin1Char('"'), 0, 0);
        ++kinds[kind];
    }
    EXPECT_EQ(reference().size(), 300);
    EXPECT_EQ(kinds[QString()], 280);
    EXPECT_EQ(kinds[text("empty")], 3);
    EXPECT_EQ(kinds[text("truncated")], 2);
    EXPECT_EQ(kinds[text("not-audio")], 10);
    EXPECT_EQ(kinds[text("permission")], 1);
    EXPECT_EQ(kinds[text("not-found")], 1);
    EXPECT_EQ(kinds[text("timeout")], 1);
    EXPECT_EQ(kinds[text("crashed")] + kinds[text("out-of-memory")], 2);
    if (tunesift::host::kChildrenCanBeLimited) {
        EXPECT_EQ(kinds[text("out-of-memory")], 1);
    }
}

TEST_F(Library, GivesTheSameRowsByAnyNumberOfWorkers)
{
    for (const char* jobs : {"-j2", "-j8"}) {
        const CliOutcome outcome = analyzeLibrary({text("--json"), text(jobs)});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(timelessRows(outcome.output), reference()) << jobs;
    }
}

TEST_F(Library, GivesTheSameRowsWhenAWorkerIsKilled)
{
    QProcess process;
    QFile::remove(rowsFile());
    start(process, {text("-j2"), text("-o"), rowsFile()});
    ASSERT_TRUE(eventually([] { return rowsOf(contentOf(rowsFile())).size() > 30; }));
    QFile children(QStringLiteral("/proc/%1/task/%1/children").arg(process.processId()));
    ASSERT_TRUE(children.open(QIODevice::ReadOnly));
    const auto worker = static_cast<pid_t>(children.readAll().split(' ').value(0).toInt());
    ASSERT_GT(worker, 0);
    ::kill(worker, SIGKILL);
    EXPECT_EQ(outcomeOf(process).status, 1);
    EXPECT_EQ(timelessRows(contentOf(rowsFile())), reference());
}

TEST_F(Library, GivesTheSameRowsWhenItIsKilledAndResumed)
{
    QFile::remove(rowsFile());
    for (const int rows : {20, 150}) {
        QProcess process;
        start(process, {text("-j2"), text("--resume"), text("-o"), rowsFile()});
        EXPECT_TRUE(eventually([&] { return rowsOf(contentOf(rowsFile())).size() >= rows; }));
        process.kill();
        process.waitForFinished();
    }
    EXPECT_EQ(analyzeLibrary({text("-j2"), text("--resume"), text("-o"), rowsFile()}).status, 1);
    EXPECT_EQ(timelessRows(contentOf(rowsFile())), reference());
}

TEST_F(Library, OneTrackGivesTheSameBytesEveryTime)
{
    const auto once = [] {
        return timelessRows(runCli({text("analyze"), text("--json"), path(text("0.mp3"))}).output);
    };
    const QStringList first = once();
    for (int run = 1; run < 20; ++run)
        EXPECT_EQ(once(), first) << run;
}

}  // namespace
