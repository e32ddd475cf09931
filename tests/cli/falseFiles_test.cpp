// Files that state something false, from the command line through the real worker: what plays is what is
// analysed, and where that cannot be had the row says why.

#include "CliRun.h"

#include "formats/cases/numbers.h"
#include "formats/flac/flacBytes.h"
#include "formats/tags.h"
#include "support/AudioFiles.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace clitest;
using testsupport::bigEndian;
using testsupport::bigEndian32At;
using testsupport::littleEndian;
using testsupport::readWholeFile;

constexpr int kRate = 44100;
constexpr int kSeconds = 6;
constexpr std::int64_t kFrames = std::int64_t{kSeconds} * kRate;

class FalseFiles : public testing::Test {
protected:
    [[nodiscard]] std::string path(const std::string& name) const
    {
        return folder_.path(QString::fromStdString(name)).toStdString();
    }

    std::string encoded(const std::string& name, const std::vector<std::string>& options = {})
    {
        testsupport::makeAudioFile(path(name), kSeconds, kRate, 2, options);
        return readWholeFile(path(name));
    }

    void write(const std::string& name, const std::string& bytes)
    {
        testsupport::writeWholeFile(path(name), bytes);
    }

    /// Frames of a plain decode.
    std::int64_t plainFrames(const std::string& name)
    {
        return static_cast<std::int64_t>(testsupport::plainDecode(path(name)).size() / 2);
    }

    /// A WAV of 32 bits a sample, of which so many are said to mean something.
    static std::string wav32(unsigned validBits, const testsupport::Pcm& pcm)
    {
        std::string sound;
        for (const std::int32_t sample : pcm.samples)
            sound += littleEndian(static_cast<std::uint64_t>(std::int64_t{sample} * 256), 4);
        const std::string head = littleEndian(0xFFFE, 2) + littleEndian(2, 2) + littleEndian(kRate, 4) +
                                 littleEndian(std::uint64_t{kRate} * 8, 4) + littleEndian(8, 2) +
                                 littleEndian(32, 2) + littleEndian(22, 2) + littleEndian(validBits, 2) +
                                 littleEndian(3, 4) + littleEndian(1, 2) +
                                 std::string("\0\0\0\0\x10\0\x80\0\0\xAA\0\x38\x9B\x71", 14);
        return "RIFF" + littleEndian(20 + head.size() + sound.size(), 4) + "WAVEfmt " +
               littleEndian(head.size(), 4) + head + "data" + littleEndian(sound.size(), 4) + sound;
    }

    /// The rows of one run over the files, in their order.
    std::vector<QJsonObject> analysed(const std::vector<std::string>& names)
    {
        QStringList arguments = {QStringLiteral("analyze"), QStringLiteral("--json")};
        for (const std::string& name : names)
            arguments << QString::fromStdString(path(name));
        return objects(runCli(arguments).output);
    }

    std::vector<QJsonObject> checked(const std::vector<std::string>& names)
    {
        QStringList arguments = {QStringLiteral("check"), QStringLiteral("--json")};
        for (const std::string& name : names)
            arguments << QString::fromStdString(path(name));
        return objects(runCli(arguments).output);
    }

    static std::int64_t frames(const QJsonObject& row)
    {
        return static_cast<std::int64_t>(row[QLatin1String("frames")].toDouble(-1));
    }

    static std::string kind(const QJsonObject& row)
    {
        return row[QLatin1String("error")].toObject()[QLatin1String("kind")].toString().toStdString();
    }

    static bool hasFinding(const QJsonObject& report, const char* kind)
    {
        const QJsonArray findings = report[QLatin1String("findings")].toArray();
        return std::any_of(findings.begin(), findings.end(), [&](const QJsonValue& finding) {
            return finding.toObject()[QLatin1String("kind")].toString() == QLatin1String(kind);
        });
    }

private:
    static std::vector<QJsonObject> objects(const QString& output)
    {
        std::vector<QJsonObject> rows;
        for (const QString& line : output.split(QLatin1Char('\n'), Qt::SkipEmptyParts))
            rows.push_back(QJsonDocument::fromJson(line.toUtf8()).object());
        return rows;
    }

    TrackFolder folder_;
};

TEST_F(FalseFiles, AreAnalysedAsLongAsTheyPlay)
{
    const std::string mp3 = encoded("right.mp3", {"-b:a", "128k"});
    const std::size_t countAt = std::min(mp3.find("Xing"), mp3.find("Info")) + 8;
    for (const auto& [name, wrong] : std::map<std::string, std::uint32_t>{
             {"half.mp3", bigEndian32At(mp3, countAt) / 2}, {"huge.mp3", 0x7FFFFFFF}}) {
        std::string bytes = mp3;
        bytes.replace(countAt, 4, bigEndian(wrong, 4));
        write(name, bytes);
    }
    write("both.mp3", mp3 + mp3);
    const std::string bare = encoded("bare.mp3", {"-write_xing", "0", "-id3v2_version", "0"});
    write("tagged.mp3", testsupport::id3v2(3000) + testsupport::id3v2(200) + bare +
                            testsupport::apeTag(300000, true) + testsupport::id3v1());
    const std::vector<std::string> names = {"half.mp3", "huge.mp3", "both.mp3"};
    std::vector<std::string> all = names;
    all.insert(all.end(), {"bare.mp3", "tagged.mp3"});
    const std::vector<QJsonObject> rows = analysed(all);
    ASSERT_EQ(rows.size(), all.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(frames(rows[i]), plainFrames(names[i])) << names[i];
    EXPECT_EQ(frames(rows[3]), plainFrames("bare.mp3"));
    EXPECT_EQ(frames(rows[4]), frames(rows[3])) << "tags are no sound";
    EXPECT_EQ(rows[4][QLatin1String("tempo")], rows[3][QLatin1String("tempo")]);
    EXPECT_EQ(rows[4][QLatin1String("loudness")], rows[3][QLatin1String("loudness")]);
}

TEST_F(FalseFiles, TwentyFourBitsOfThirtyTwoAreTheSameSound)
{
    const testsupport::Pcm pcm = testsupport::testPcm(static_cast<std::size_t>(kFrames), kRate, 2, 24);
    write("24.wav", wav32(24, pcm));
    write("32.wav", wav32(32, pcm));
    const std::vector<QJsonObject> rows = analysed({"24.wav", "32.wav"});
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(frames(rows[0]), kFrames);
    for (const char* name : {"frames", "tempo", "key", "loudness", "beats", "firstDownbeat"})
        EXPECT_EQ(rows[0][QLatin1String(name)], rows[1][QLatin1String(name)]) << name;
}

TEST_F(FalseFiles, TheRowSaysWhyATrackHasNoResults)
{
    testsupport::encodeFlac(path("short.flac"), testsupport::testPcm(20, kRate, 2, 16));
    // More than 31 bits hold, in a file that was cut off within a block.
    testsupport::encodeFlac(path("whole.flac"),
                            testsupport::testPcm(static_cast<std::size_t>(kFrames), kRate, 2, 16));
    std::string bytes = readWholeFile(path("whole.flac"));
    testsupport::setFlacTotalFrames(bytes, std::uint64_t{1} << 33U);
    write("long.flac", bytes.substr(0, bytes.size() / 2));
    const std::vector<QJsonObject> rows = analysed({"short.flac", "long.flac"});
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(kind(rows[0]), "too-short");
    EXPECT_EQ(kind(rows[1]), "too-long");
}

TEST_F(FalseFiles, CheckTellsWhatIsWrongWithThem)
{
    testsupport::Pcm pcm = testsupport::testPcm(static_cast<std::size_t>(kFrames), kRate, 2, 16);
    for (auto& sample : pcm.samples)
        sample /= 2;
    testsupport::encodeFlac(path("right.flac"), pcm);
    const std::string right = readWholeFile(path("right.flac"));
    std::string half = right;
    testsupport::setFlacTotalFrames(half, kFrames / 2);
    write("half.flac", half);
    std::string twice = right;
    testsupport::setFlacTotalFrames(twice, 2 * kFrames);
    write("double.flac", twice);
    std::string digest = right;
    digest[testsupport::kFlacStreamInfo + 20] ^= '\x01';
    write("digest.flac", digest);
    write("cut.flac", right.substr(0, right.size() / 2));
    const std::vector<QJsonObject> reports =
        checked({"right.flac", "half.flac", "double.flac", "digest.flac", "cut.flac"});
    ASSERT_EQ(reports.size(), 5U);
    const std::vector<const char*> expected = {"", "surplus", "truncated", "digest", "truncated"};
    for (std::size_t i = 0; i < reports.size(); ++i) {
        for (const char* finding : {"surplus", "truncated", "digest"})
            EXPECT_EQ(hasFinding(reports[i], finding), std::string(finding) == expected[i])
                << i << ": " << finding;
    }
}

}  // namespace
