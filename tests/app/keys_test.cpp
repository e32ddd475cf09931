// The key, from a file on disk to the number in the last message of facts.

#include "app/TestHost.h"

#include "app/protocol/messageIds.h"
#include "synth/Cadence.h"
#include "synth/WavWriter.h"
#include "synth/signals.h"

#include <QDataStream>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <optional>

using namespace eboOfflineAnalysisProtocol;

namespace {

constexpr qint32 kNone = -1;

class Keys : public testing::Test {
protected:
    /// The key numbers of a run's facts, from first to last; none if the run does not finish.
    std::vector<qint32> numbersOf(const std::vector<float>& mono, unsigned sampleRate = 44100,
                                  bool detectKey = true)
    {
        const QString path = dir_.filePath(QStringLiteral("track.wav"));
        EXPECT_TRUE(synth::writeWav(path.toStdString(), mono, 1, sampleRate, synth::SampleFormat::kFloat32));
        host_.send(kStart, TestHost::startPayload(path.toUtf8(), 58, detectKey));
        const auto messages = host_.untilEnd();
        if (messages.empty() || messages.back().id != kFinished)
            return {};
        std::vector<qint32> numbers;
        for (const Message& message : messages) {
            if (message.id == kTrackDataChunk)
                numbers.push_back(keyIn(message.payload));
        }
        return numbers;
    }

    void SetUp() override { host_.startWorker(); }

    void TearDown() override
    {
        host_.send(kQuit);
        EXPECT_EQ(host_.exitStatus(), 0);
    }

private:
    static qint32 keyIn(const QByteArray& facts)
    {
        double sampleRate = 0.0;
        qint64 length = 0;
        double loudness = 0.0;
        qint32 key = 0;
        QDataStream(facts) >> sampleRate >> length >> loudness >> key;
        return key;
    }

    QTemporaryDir dir_;
    TestHost host_;
};

TEST_F(Keys, AreKnownAtTheEndOfTheRunAndNotBefore)
{
    // D minor, C major, F# major, C# minor: round the circle of fifths.
    EXPECT_EQ(numbersOf(synth::cadence({.tonic = 5, .minor = true})), (std::vector<qint32>{kNone, 23}));
    EXPECT_EQ(numbersOf(synth::cadence({.tonic = 3})), (std::vector<qint32>{kNone, 0}));
    EXPECT_EQ(numbersOf(synth::cadence({.tonic = 9})), (std::vector<qint32>{kNone, 12}));
    EXPECT_EQ(numbersOf(synth::cadence({.tonic = 4, .minor = true})), (std::vector<qint32>{kNone, 9}));
}

TEST_F(Keys, AreLeftAloneWhenNobodyAsksForThem)
{
    EXPECT_EQ(numbersOf(synth::cadence({.tonic = 5, .minor = true}), 44100, false),
              (std::vector<qint32>{kNone, kNone}));
}

TEST_F(Keys, AreNotFoundBelow8192Hz)
{
    EXPECT_EQ(numbersOf(synth::cadence({.sampleRate = 8000}), 8000), (std::vector<qint32>{kNone, kNone}));
    EXPECT_EQ(numbersOf(synth::cadence({.sampleRate = 8191}), 8191), (std::vector<qint32>{kNone, kNone}));
    EXPECT_EQ(numbersOf(synth::cadence({.sampleRate = 8192}), 8192), (std::vector<qint32>{kNone, 6}));
}

TEST_F(Keys, AreNotFoundInLessThanHalfASecond)
{
    EXPECT_EQ(numbersOf(synth::sine({.frequency = 440, .seconds = 0.45})),
              (std::vector<qint32>{kNone, kNone}));
}

TEST_F(Keys, OfSilenceIsAMinor) { EXPECT_EQ(numbersOf(synth::silence(3)), (std::vector<qint32>{kNone, 1})); }

}  // namespace
