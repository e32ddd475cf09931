#include "CliRun.h"
#include "support/AudioFiles.h"
#include "synth/WavWriter.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

using namespace clitest;
using testing::HasSubstr;
using testing::Not;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class CheckVerb : public testing::Test {
protected:
    QString file(const char* name, const std::string& content)
    {
        testsupport::writeWholeFile(folder_.path(text(name)).toStdString(), content);
        return folder_.path(text(name));
    }

    /// Three seconds in the format that the name asks for.
    QString audio(const char* name)
    {
        const std::string path = folder_.path(text(name)).toStdString();
        const testsupport::Pcm pcm = quiet();
        if (path.ends_with("flac"))
            testsupport::encodeFlac(path, pcm);
        else if (path.ends_with("ogg"))
            testsupport::encodeVorbis(path, pcm);
        else
            testsupport::makeAudioFile(path, 3, kRate, 2);
        return folder_.path(text(name));
    }

    /// What would clip is left out.
    static testsupport::Pcm quiet()
    {
        testsupport::Pcm pcm = testsupport::testPcm(3 * kRate, kRate, 2, 16);
        for (auto& sample : pcm.samples)
            sample /= 2;
        return pcm;
    }

    static std::string bytesOf(const QString& path) { return testsupport::readWholeFile(path.toStdString()); }

    static CliOutcome check(const QStringList& arguments)
    {
        return runCli(QStringList{text("check")} + arguments);
    }

    static constexpr int kRate = 44100;
    TrackFolder folder_;
};

TEST_F(CheckVerb, SaysThatAWholeFileIsFineInEveryFormat)
{
    for (const char* name : {"a.wav", "a.aif", "a.flac", "a.ogg", "a.mp3", "a.m4a", "a.aac"}) {
        const QString path = audio(name);
        const CliOutcome outcome = check({path});
        EXPECT_EQ(outcome.status, 0) << outcome.output.toStdString();
        EXPECT_THAT(outcome.output.toStdString(), Not(HasSubstr("cut short"))) << name;
    }
    EXPECT_EQ(check({folder_.path(text("a.flac"))}).output, folder_.path(text("a.flac")) + text(": fine\n"));
}

TEST_F(CheckVerb, TellsTheStatedAndTheDecodedLengthOfWhatIsCutShort)
{
    const std::string whole = bytesOf(audio("whole.flac"));
    const QString cut = file("cut.flac", whole.substr(0, whole.size() / 2));
    const CliOutcome outcome = check({text("--json"), cut});
    EXPECT_EQ(outcome.status, 1);
    const QJsonObject object = QJsonDocument::fromJson(outcome.output.toUtf8()).object();
    EXPECT_EQ(object[QLatin1String("statedFrames")].toInt(), 3 * kRate);
    const int decoded = object[QLatin1String("decodedFrames")].toInt();
    EXPECT_GT(decoded, 0);
    EXPECT_LT(decoded, 3 * kRate - 4096);
    EXPECT_EQ(object[QLatin1String("findings")].toArray()[0].toObject()[QLatin1String("kind")].toString(),
              text("truncated"));
    EXPECT_THAT(check({cut}).output.toStdString(), HasSubstr("of 3.000 s can be decoded"));
}

TEST_F(CheckVerb, SeesThatAWavIsCutShortThoughItsDecoderDoesNotMind)
{
    const QString whole = audio("whole.wav");
    const std::string bytes = bytesOf(whole);
    const CliOutcome outcome = check({file("cut.wav", bytes.substr(0, 100000))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(),
                HasSubstr("cut short: its header announces " + std::to_string(bytes.size()) +
                          " bytes, it has 100000"));
}

TEST_F(CheckVerb, PassesOnWhatTheDecoderComplainsOf)
{
    std::string bytes = bytesOf(audio("a.flac"));
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), 500, '\0');
    const CliOutcome outcome = check({file("damaged.flac", bytes)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr("damaged.flac: the decoder says: "));
}

TEST_F(CheckVerb, CountsPlacesThatClipWhichAreNoFaults)
{
    // Two places of three and five samples at full scale, and single peaks that are none.
    std::vector<float> samples(kRate, 0.1F);
    for (const std::size_t i : {100U, 101U, 102U, 200U, 201U, 202U, 203U, 204U, 300U, 400U, 402U})
        samples[i] = -1.0F;
    const QString path = folder_.path(text("loud.wav"));
    ASSERT_TRUE(synth::writeWav(path.toStdString(), samples, 1, kRate, synth::SampleFormat::kPcm16));
    const CliOutcome outcome = check({path});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, path + text(": clipping in 2 places, peak 0.0 dBFS\n"));
}

TEST_F(CheckVerb, TellsWhatCannotBeDecodedAtAll)
{
    const auto expect = [&](const QString& path, const char* kind) {
        const CliOutcome outcome = check({text("--json"), path});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr("\"kind\":\"" + std::string(kind) + '"'));
        EXPECT_THAT(outcome.output.toStdString(), HasSubstr("\"decodedFrames\":null"));
    };
    expect(file("empty.wav", ""), "empty");
    expect(file("text.mp3", "this is no music"), "not-audio");
    expect(file("notes.txt", "this is no music"), "unsupported");
    expect(folder_.path(text("missing.wav")), "not-found");
    expect(text("net://host/a.wav"), "unreachable");
}

TEST_F(CheckVerb, GoesThroughFoldersInTheirOrder)
{
    audio("b.flac");
    QDir().mkpath(folder_.path(text("a")));
    audio("a/2.flac");
    file("a/1.flac", "x");
    for (const char* jobs : {"-j1", "-j4"}) {
        const CliOutcome outcome = check({text(jobs), folder_.path({})});
        EXPECT_EQ(outcome.status, 1);
        const QString folder = folder_.path({}) + QLatin1Char('/');
        EXPECT_EQ(outcome.output, folder + text("a/1.flac: its decoder cannot open it\n") + folder +
                                      text("a/2.flac: fine\n") + folder + text("b.flac: fine\n"));
        EXPECT_EQ(outcome.errors, text("tunesift: 3 files: 2 without faults, 1 with faults\n"));
    }
}

TEST_F(CheckVerb, WithoutItsProbeNothingCanBeDone)
{
    const QString program = folder_.path(text("tunesift"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TUNESIFT), program));
    QProcess process;
    process.start(program, {text("check"), audio("a.flac")});
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors.toStdString(),
                HasSubstr("cannot run " + folder_.path(text("tunesift-probe")).toStdString()));
}

}  // namespace
