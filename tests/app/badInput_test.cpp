#include "app/TestHost.h"

#include "app/protocol/messageIds.h"
#include "synth/ClickTrack.h"
#include "synth/Noise.h"
#include "synth/WavWriter.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtEndian>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

using namespace eboOfflineAnalysisProtocol;
using testing::ElementsAre;

namespace {

/// Every test gives the worker something bad, sees what it says, and that it goes on with a good track.
class BadInput : public testing::Test {
protected:
    void SetUp() override { host_.startWorker(); }

    void TearDown() override
    {
        const QByteArray good = file("good.wav");
        ASSERT_TRUE(synth::writeWav(good.toStdString(), synth::clickTrack({.bpm = 120, .seconds = 2}), 1,
                                    44100, synth::SampleFormat::kPcm16));
        EXPECT_EQ(host_.run(good).back().id, kFinished) << "the run after the bad one";
        host_.send(kQuit);
        EXPECT_EQ(host_.exitStatus(), 0);
    }

    [[nodiscard]] QByteArray file(const char* name) const { return dir_.path().toUtf8() + '/' + name; }

    QByteArray fileWith(const char* name, const QByteArray& bytes) const
    {
        const QByteArray path = file(name);
        QFile out(QFile::decodeName(path));
        EXPECT_TRUE(out.open(QIODevice::WriteOnly));
        EXPECT_EQ(out.write(bytes), bytes.size());
        return path;
    }

    /// Lets ffmpeg make a file from its own signal generators.
    QByteArray encoded(const char* name, const QStringList& arguments) const
    {
        const QByteArray path = file(name);
        const QStringList all =
            QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y")} + arguments +
            QStringList{QFile::decodeName(path)};
        EXPECT_EQ(QProcess::execute(QStringLiteral("ffmpeg"), all), 0);
        return path;
    }

    static QByteArray contents(const QByteArray& path)
    {
        QFile in(QFile::decodeName(path));
        EXPECT_TRUE(in.open(QIODevice::ReadOnly));
        return in.readAll();
    }

    void expectError(const QByteArray& path)
    {
        EXPECT_THAT(ids(host_.run(path)), ElementsAre(kStarted, kError)) << path.constData();
    }

    QTemporaryDir dir_;
    TestHost host_;
};

QStringList words(const char* text) { return QString::fromLatin1(text).split(QLatin1Char(' ')); }

TEST_F(BadInput, AMissingFile) { expectError(file("missing.wav")); }

TEST_F(BadInput, ANameThatNoReaderWants)
{
    expectError(fileWith("text.txt", "hello"));
    expectError("");
    expectError("/");
}

TEST_F(BadInput, ADirectory)
{
    ASSERT_TRUE(QDir(dir_.path()).mkdir(QStringLiteral("folder.wav")));
    expectError(file("folder.wav"));
}

TEST_F(BadInput, AnUnreadableFile)
{
    const QByteArray path = fileWith("secret.wav", "RIFF");
    ASSERT_EQ(::chmod(path.constData(), 0), 0);
    TestHost host;
    host.startWorker({}, false);
    EXPECT_THAT(ids(host.run(path)), ElementsAre(kStarted, kError));
    host.send(kQuit);
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST_F(BadInput, AnEmptyFile)
{
    expectError(fileWith("empty.wav", {}));
    expectError(fileWith("empty.mp3", {}));
}

TEST_F(BadInput, ATextFileCalledMp3)
{
    expectError(
        fileWith("text.mp3", QByteArray("The quick brown fox jumps over the lazy dog.\n").repeated(200)));
}

TEST_F(BadInput, AWavCutInTheMiddleOfItsHeader)
{
    const QByteArray whole = contents(encoded("whole.wav", words("-f lavfi -i sine=d=1")));
    for (const int size : {1, 4, 11, 12, 20, 30, 43})
        expectError(fileWith("cut.wav", whole.left(size)));
}

TEST_F(BadInput, AnMp3WithGarbageInTheMiddleIsAnalysedToItsEnd)
{
    QByteArray bytes = contents(encoded("whole.mp3", words("-f lavfi -i sine=d=10 -b:a 128k")));
    synth::Noise noise(5);
    for (int at = 60000; at < 80000; ++at)
        bytes[at] = static_cast<char>(noise.next() * 127);
    EXPECT_EQ(host_.run(fileWith("garbage.mp3", bytes)).back().id, kFinished);
}

TEST_F(BadInput, AFileWithoutAnAudioStream)
{
    expectError(encoded("silent.mp4", words("-f lavfi -i color=d=1:s=64x64 -c:v mpeg4 -an")));
}

TEST_F(BadInput, MoreThanEightChannels)
{
    std::vector<float> interleaved(9U * 20000);
    const QByteArray path = file("nine.wav");
    ASSERT_TRUE(synth::writeWav(path.toStdString(), interleaved, 9, 44100, synth::SampleFormat::kPcm16));
    expectError(path);
}

TEST_F(BadInput, AFileDeletedWhileBeingReadIsReadToItsEnd)
{
    const QByteArray path = file("clicks.wav");
    ASSERT_TRUE(synth::writeWav(path.toStdString(), synth::clickTrack({.bpm = 120, .seconds = 60}), 1, 44100,
                                synth::SampleFormat::kPcm16));
    host_.start(path);
    while (host_.next()->id != kBeatDataChunk) {
    }
    ASSERT_EQ(::unlink(path.constData()), 0);
    EXPECT_EQ(host_.untilEnd().back().id, kFinished);
}

TEST_F(BadInput, AFileCutShorterThanItSaysEndsWithResults)
{
    const QByteArray path = file("clicks.wav");
    ASSERT_TRUE(synth::writeWav(path.toStdString(), synth::clickTrack({.bpm = 120, .seconds = 60}), 1, 44100,
                                synth::SampleFormat::kPcm16));
    host_.start(path);
    while (host_.next()->id != kTrackDataChunk) {
    }
    ASSERT_EQ(::truncate(path.constData(), 100000), 0);
    EXPECT_EQ(host_.untilEnd().back().id, kFinished);
}

TEST_F(BadInput, APathThatIsNotUtf8)
{
    const QByteArray path = file("m\xFCsik.wav");
    ASSERT_TRUE(
        synth::writeWav(path.toStdString(), std::vector<float>(1000), 1, 44100, synth::SampleFormat::kPcm16));
    expectError(path);
    expectError(QByteArray("/\xFF\xFE\x80\xC0\xAF.wav"));
}

TEST_F(BadInput, APathOf4000Bytes)
{
    expectError("/" + QByteArray(3995, 'x') + ".wav");
    expectError(QByteArray("/xxxxxxx").repeated(500) + "/x.mp3");
}

TEST_F(BadInput, APathWithAZeroByte) { expectError(file("good") + QByteArray(1, '\0') + ".wav"); }

TEST_F(BadInput, AFifoCalledWavDoesNotBlock)
{
    const QByteArray path = file("pipe.wav");
    ASSERT_EQ(::mkfifo(path.constData(), 0600), 0);
    expectError(path);
}

TEST_F(BadInput, ADeviceCalledWavDoesNotBlock)
{
    const QByteArray path = file("zero.wav");
    ASSERT_EQ(::symlink("/dev/zero", path.constData()), 0);
    expectError(path);
}

TEST_F(BadInput, ANetworkPathToNowhereWaitsAndKeepsNothingElseFromItsTurn)
{
    for (const char* path :
         {"net://6f1f4c0e-6d0b-4e0c-9a3c-0b1c2d3e4f50/Music/track.wav",
          "/net:/6f1f4c0e-6d0b-4e0c-9a3c-0b1c2d3e4f50/Music/track.wav", "net://", "net://nobody/x"}) {
        host_.start(path);
        // Not a word about it: the first messages are those of the next run.
        expectError("/there/is/no/such/track.wav");
    }
}

TEST_F(BadInput, SamplesThatAreNoSoundGiveFiniteResults)
{
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const std::pair<const char*, std::vector<float>> cases[] = {
        {"NaN", {std::numeric_limits<float>::quiet_NaN()}},
        {"infinities", {kInfinity, -kInfinity}},
        {"huge", {1e38F, -1e38F, 0.0f}},
        {"denormals", {1e-40F, -1e-42F}},
        {"all of it", {0.5f, std::numeric_limits<float>::quiet_NaN(), 1e38F, -kInfinity, 1e-40F, -0.5f}},
    };
    for (const auto& [name, pattern] : cases) {
        std::vector<float> samples(44100 * 3);
        for (std::size_t frame = 0; frame < samples.size(); ++frame)
            samples[frame] = pattern[frame / 3000 % pattern.size()];
        const QByteArray path = file("odd.wav");
        ASSERT_TRUE(synth::writeWav(path.toStdString(), samples, 1, 44100, synth::SampleFormat::kFloat32));
        const auto messages = host_.run(path);
        ASSERT_EQ(messages.back().id, kFinished) << name;
        const auto tempo = qFromLittleEndian<double>(messages.back().payload.constData());
        EXPECT_TRUE(tempo >= 58 && tempo < 116) << name << ": " << tempo;
    }
}

TEST_F(BadInput, AHeaderThatPromisesDaysOfAudioCostsLittle)
{
    // 8-bit mono at 400 Hz, whose fact chunk claims two thousand million frames; there are a hundred.
    const QByteArray header = QByteArray::fromHex("52494646"
                                                  "9c000000"
                                                  "57415645"
                                                  "666d7420"
                                                  "10000000"
                                                  "0100"
                                                  "0100"
                                                  "90010000"
                                                  "90010000"
                                                  "0100"
                                                  "0800"
                                                  "66616374"
                                                  "04000000"
                                                  "00943577"
                                                  "64617461"
                                                  "64000000");
    const auto messages = host_.run(fileWith("promise.wav", header + QByteArray(100, '\x80')));
    qint64 bytes = 0;
    for (const Message& message : messages)
        bytes += message.payload.size();
    EXPECT_LT(bytes, 64 << 20);
}

}  // namespace
