// Runs under bad circumstances, each through the real worker: an end message or status 0, never a hang.

#include "app/ProcessFacts.h"
#include "app/TestHost.h"

#include "app/protocol/messageIds.h"
#include "support/sanitizers.h"
#include "synth/ClickTrack.h"
#include "synth/WavWriter.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace eboOfflineAnalysisProtocol;

namespace {

using testing::AnyOf;
using testing::ElementsAre;

class Circumstances : public testing::Test {
protected:
    void SetUp() override
    {
        track_ = dir_.filePath(QStringLiteral("track.wav")).toUtf8();
        writeClicks(track_, 12, 44100);
    }

    static void writeClicks(const QByteArray& path, double seconds, unsigned sampleRate)
    {
        ASSERT_TRUE(synth::writeWav(
            path.toStdString(), synth::clickTrack({.bpm = 120, .seconds = seconds, .sampleRate = sampleRate}),
            1, sampleRate, synth::SampleFormat::kPcm16));
    }

    /// The worker is as good as new.
    void expectServesAndQuits()
    {
        EXPECT_EQ(host_.run(track_).back().id, kFinished);
        host_.send(kQuit);
        EXPECT_EQ(host_.exitStatus(), 0);
    }

    QTemporaryDir dir_;
    QByteArray track_;
    TestHost host_;
};

TEST_F(Circumstances, WithoutAThreadTheRunEndsInAnError)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer needs more memory than any limit";
    host_.startWorker();
    {
        constexpr std::int64_t kLessThanAStack = 512 << 10;
        const processfacts::MemoryLimit limit(host_.workerPid(), kLessThanAStack);
        EXPECT_THAT(ids(host_.run(track_)), ElementsAre(kStarted, kError));
    }
    expectServesAndQuits();
}

TEST_F(Circumstances, WithoutMemoryARunEndsOneWayOrTheOther)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer needs more memory than any limit";
    int errors = 0;
    for (int halfMegabytes = 4; halfMegabytes < 14; ++halfMegabytes) {
        SCOPED_TRACE(halfMegabytes);
        TestHost host;
        host.startWorker();
        {
            const processfacts::MemoryLimit limit(host.workerPid(), std::int64_t{halfMegabytes} << 19);
            const auto end = host.run(track_).back().id;
            EXPECT_THAT(end, AnyOf(kFinished, kError));
            errors += end == kError ? 1 : 0;
        }
        EXPECT_EQ(host.run(track_).back().id, kFinished);
        host.send(kQuit);
        EXPECT_EQ(host.exitStatus(), 0);
    }
    RecordProperty("errors", errors);
}

TEST_F(Circumstances, WithoutDescriptorsTheRunEndsInAnError)
{
    if (testsupport::kIsSanitized)
        GTEST_SKIP() << "the sanitizer takes descriptors for itself";
    host_.startWorker();
    EXPECT_EQ(host_.run(track_).back().id, kFinished);
    const std::size_t before = processfacts::descriptors(host_.workerPid()).size();
    for (const int left : {0, 1, 0, 1}) {  // none for the run's thread, none for the file
        const processfacts::DescriptorLimit limit(host_.workerPid(), left);
        EXPECT_THAT(ids(host_.run(track_)), ElementsAre(kStarted, kError)) << left;
    }
    EXPECT_LE(processfacts::descriptors(host_.workerPid()).size(), before + 1);
    expectServesAndQuits();
}

TEST_F(Circumstances, AFullTemporaryFolderIsOfNoImportance)
{
    // Nothing can be written there, not even by root.
    host_.startWorker({QStringLiteral("TMPDIR=/proc")});
    expectServesAndQuits();
}

TEST_F(Circumstances, AHostThatStopsReadingGetsAllThatItHasMissed)
{
    // Two hours, of which the waves alone are more than a connection holds that nobody reads.
    constexpr double kSeconds = 7200;
    constexpr unsigned kRate = 2000;
    const QByteArray longTrack = dir_.filePath(QStringLiteral("long.wav")).toUtf8();
    writeClicks(longTrack, kSeconds, kRate);
    TestHost attentive;
    attentive.startWorker();
    const auto expected = attentive.run(longTrack);
    ASSERT_EQ(expected.back().id, kFinished);

    host_.takeInLittle();
    host_.startWorker();
    host_.start(longTrack);
    ASSERT_TRUE(host_.waitForErrorOutput("buffer is full after 15000 timeout!")) << "the host reads too well";
    const auto messages = host_.untilEnd();
    ASSERT_EQ(ids(messages), ids(expected));
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(messages[i].payload, expected[i].payload) << "message " << i;
    expectServesAndQuits();
}

}  // namespace
