#include "CliRun.h"
#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QFile>
#include <QImage>
#include <QXmlStreamReader>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using namespace clitest;
using testing::HasSubstr;

constexpr QRgb kLow = 0xFF2D6BE0;
constexpr QRgb kHigh = 0xFFF5F1E6;
constexpr QRgb kBackground = 0xFF12151B;
constexpr QRgb kPanel = 0xFF191D25;
constexpr QRgb kBarMark = 0xFFE5484D;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class PlotVerb : public testing::Test {
protected:
    static constexpr unsigned kRate = 44100;

    // Qt's offscreen platform never lets go of its screen.
    PlotVerb() { qputenv("LSAN_OPTIONS", "detect_leaks=0"); }
    ~PlotVerb() override { qunsetenv("LSAN_OPTIONS"); }

    QString write(const char* name, const std::vector<float>& samples)
    {
        const QString path = folder_.path(text(name));
        EXPECT_TRUE(synth::writeWav(path.toStdString(), samples, 1, kRate, synth::SampleFormat::kPcm16));
        return path;
    }

    /// Five seconds each of a deep tone, of silence, and of a high one.
    QString tones()
    {
        constexpr double kTurn = 6.283185307179586;
        std::vector<float> samples(15 * kRate);
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double seconds = static_cast<double>(i) / kRate;
            const double pitch = seconds < 5 ? 60.0 : 9000.0;
            const bool sounds = seconds < 5 || seconds >= 10;
            samples[i] = sounds ? static_cast<float>(0.5 * std::sin(kTurn * pitch * seconds)) : 0.0F;
        }
        return write("tones.wav", samples);
    }

    QString house()
    {
        return write("Warehouse & <Friends>.wav", synth::houseLoop({.seconds = 20, .bpm = 112}));
    }

    QString picture(const QString& track, const QStringList& options, const char* file = "picture.png")
    {
        const QString path = folder_.path(text(file));
        const CliOutcome outcome = runCli(QStringList{text("plot"), track, text("-o"), path} + options);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.errors, QString());
        return path;
    }

    /// Whether the colour is there within some pixels to either side; lines of beats may stand in between.
    static bool hasColourNear(const QImage& image, double x, double y, QRgb colour)
    {
        const int middle = static_cast<int>(x * image.width());
        for (int dx = -6; dx <= 6; ++dx) {
            if (image.pixel(middle + dx, static_cast<int>(y * image.height())) == colour)
                return true;
        }
        return false;
    }

    static int count(const QImage& image, QRgb colour)
    {
        int pixels = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                pixels += image.pixel(x, y) == colour ? 1 : 0;
        }
        return pixels;
    }

    TrackFolder folder_;
};

TEST_F(PlotVerb, DrawsEachBandInItsColourWhereItSounds)
{
    const QImage image(picture(tones(), {}));
    EXPECT_EQ(image.size(), QSize(1600, 400));
    EXPECT_EQ(image.pixel(0, 0), kBackground);
    constexpr double kAboveTheMiddle = 0.4;
    EXPECT_TRUE(hasColourNear(image, 0.17, kAboveTheMiddle, kLow));
    EXPECT_FALSE(hasColourNear(image, 0.17, kAboveTheMiddle, kHigh));
    EXPECT_TRUE(hasColourNear(image, 0.5, kAboveTheMiddle, kPanel)) << "silence";
    EXPECT_TRUE(hasColourNear(image, 0.83, kAboveTheMiddle, kHigh));
}

TEST_F(PlotVerb, DrawsAStretchFromTheFinerWave)
{
    const QImage image(picture(tones(), {text("--from"), text("4"), text("--to"), text("0:6")}));
    EXPECT_TRUE(hasColourNear(image, 0.25, 0.4, kLow));
    EXPECT_TRUE(hasColourNear(image, 0.75, 0.4, kPanel)) << "the tone ends in the middle";
}

TEST_F(PlotVerb, HasTheSizeThatWasAskedFor)
{
    for (const QSize size : {QSize(200, 100), QSize(3000, 900)}) {
        const QImage image(picture(house(), {text("--width"), QString::number(size.width()), text("--height"),
                                             QString::number(size.height())}));
        EXPECT_EQ(image.size(), size);
        EXPECT_GT(count(image, kLow), size.width());
    }
}

TEST_F(PlotVerb, MarksBars)
{
    // 20 s at 112 beats a minute begin ten bars; each has a mark at both edges.
    const QImage image(picture(house(), {}));
    int marks = 0;
    constexpr int kTopOfTheWave = 53;
    for (int x = 1; x < image.width(); ++x) {
        const bool begins =
            image.pixel(x, kTopOfTheWave) == kBarMark && image.pixel(x - 1, kTopOfTheWave) != kBarMark;
        marks += begins ? 1 : 0;
    }
    EXPECT_NEAR(marks, 10, 1);
}

TEST_F(PlotVerb, WritesFactsAndTitleIntoAnSvg)
{
    QFile file(picture(house(), {}, "picture.svg"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QXmlStreamReader reader(&file);
    QStringList texts;
    int polygons = 0;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        polygons += reader.name() == QLatin1String("polygon") ? 1 : 0;
        if (reader.name() == QLatin1String("text"))
            texts << reader.readElementText();
    }
    EXPECT_FALSE(reader.hasError()) << reader.errorString().toStdString();
    EXPECT_GE(polygons, 3 + 20);
    const std::string all = texts.join(QLatin1Char('|')).toStdString();
    EXPECT_THAT(all, HasSubstr("Warehouse & <Friends>"));
    EXPECT_THAT(all, HasSubstr("112.0"));
    EXPECT_THAT(all, HasSubstr("BPM   A minor (8A)"));
    EXPECT_THAT(all, HasSubstr("0:20"));
    EXPECT_THAT(all, HasSubstr("|0:06|")) << "on the time axis";
}

TEST_F(PlotVerb, TakesARowForItsTrack)
{
    const CliOutcome rows = runCli({text("analyze"), text("--json"), house()});
    const QImage fromRow(picture(rows.output.trimmed(), {}, "row.png"));
    const QImage fromPath(picture(house(), {}, "path.png"));
    EXPECT_EQ(fromRow, fromPath);
}

TEST_F(PlotVerb, FailsInWordsAndLeavesNoFile)
{
    const QString out = folder_.path(text("out.png"));
    const auto expect = [&](const QStringList& arguments, const char* words) {
        const CliOutcome outcome = runCli(QStringList{text("plot"), text("-o"), out} + arguments);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(words));
        EXPECT_FALSE(QFile::exists(out));
    };
    expect({folder_.path(text("missing.wav"))}, "there is no such file");
    expect({folder_.track(text("no audio"))}, "no audio that the worker can read");
    expect({tones(), text("--from"), text("99")}, "ends before --from");
    const CliOutcome outcome =
        runCli({text("plot"), text("-o"), folder_.path(text("missing/out.png")), tones()});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("cannot write"));
}

}  // namespace
