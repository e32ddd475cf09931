// One piece of music in every format, from the command line through the real worker: what is found must not
// depend on how it was packed.

#include "CliRun.h"

#include "support/AudioFiles.h"
#include "synth/HouseLoop.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using namespace clitest;

constexpr double kBpm = 112;
constexpr int kSeconds = 30;
constexpr int kRate = 44100;

/// 16-bit samples of the music.
testsupport::Pcm music()
{
    testsupport::Pcm pcm{kRate, 2, 16, {}};
    for (const float sample : synth::houseLoopStereo({.seconds = kSeconds, .bpm = kBpm}))
        pcm.samples.push_back(static_cast<std::int32_t>(std::lround(sample * 32767.0f)));
    return pcm;
}

/// Encodes the music into the folder in every format that the worker reads.
QStringList encodeAll(const QTemporaryDir& folder)
{
    const auto path = [&](const char* extension) {
        return folder.filePath(QStringLiteral("music.") + QLatin1String(extension));
    };
    const auto encode = [&](const char* extension, const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"-i", path("flac").toStdString()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.push_back(path(extension).toStdString());
        testsupport::runFfmpeg(arguments);
    };
    testsupport::encodeFlac(path("flac").toStdString(), music());
    testsupport::encodeFlac(path("oga").toStdString(), music());
    testsupport::encodeVorbis(path("ogg").toStdString(), music(), {"--quality=5"});
    encode("wav", {});
    encode("aif", {});
    encode("aiff", {});
    encode("mp3", {"-b:a", "192k"});
    for (const char* extension : {"m4a", "mp4", "aac"})
        encode(extension, {"-c:a", "aac", "-b:a", "192k"});

    QStringList paths;
    for (const char* extension : {"wav", "aif", "aiff", "flac", "oga", "mp3", "m4a", "mp4", "aac", "ogg"})
        paths << path(extension);
    return paths;
}

TEST(EveryFormat, TellsTheSameOfTheSameMusic)
{
    const QTemporaryDir folder;
    const QStringList paths = encodeAll(folder);
    const CliOutcome outcome = runCli(QStringList{QStringLiteral("analyze"), QStringLiteral("--json"),
                                                  QStringLiteral("--min-bpm"), QStringLiteral("90")} +
                                      paths);
    ASSERT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    std::vector<QJsonObject> results;
    for (const QString& line : outcome.output.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
        results.push_back(QJsonDocument::fromJson(line.toUtf8()).object());
    ASSERT_EQ(results.size(), static_cast<std::size_t>(paths.size()));

    const QJsonObject& wav = results[0];
    const auto number = [](const QJsonObject& result, const char* name) {
        return result.value(QLatin1String(name)).toDouble(-1000.0);
    };
    for (const QJsonObject& result : results) {
        const std::string extension =
            QFileInfo(result[QLatin1String("path")].toString()).suffix().toStdString();
        SCOPED_TRACE(extension);

        // A step of the onset detector at either end of the half minute is an error of 0.01 BPM.
        EXPECT_NEAR(number(result, "tempo"), kBpm, 0.02);

        // The bare AAC stream cannot say that its encoder put a block of 1024 frames in front.
        constexpr double kStep = 1.0 / 630.0;  // seconds, of the onset detector
        const double delay = extension == "aac" ? 1024.0 / kRate : 0.0;
        EXPECT_NEAR(number(result, "firstDownbeat"), number(wav, "firstDownbeat") + delay, 3 * kStep);
        // Padding at the end may hold one more beat.
        EXPECT_NEAR(number(result, "beats"), number(wav, "beats"), 1);

        EXPECT_EQ(result.value(QLatin1String("key")).toString(), QStringLiteral("A minor"));

        // Coding that throws sound away changes peaks by some percent; between the lossless formats lies the
        // scale alone, 32768 / 32767.
        const bool isLossless = extension.starts_with("aif") || extension == "flac" || extension == "oga";
        EXPECT_NEAR(number(result, "loudnessDb"), number(wav, "loudnessDb"), isLossless ? 0.0005 : 0.5);

        // An mp3 announces whole blocks of 1152, a bare AAC stream holds whole blocks of 1024 and one in
        // front.
        const double padding = extension == "mp3" ? 1152 : extension == "aac" ? 2 * 1024 : 0;
        EXPECT_NEAR(number(result, "frames"), kSeconds * kRate, padding);
        EXPECT_EQ(number(result, "sampleRate"), kRate);
    }
}

}  // namespace
