#include "CliRun.h"
#include "support/AudioFiles.h"
#include "synth/HouseLoop.h"
#include "synth/WavWriter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtEndian>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace {

using namespace clitest;
using testing::ElementsAre;
using testing::HasSubstr;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

class ExportVerb : public testing::Test {
protected:
    ExportVerb()
    {
        const auto samples = synth::houseLoop({.seconds = 10, .bpm = 112});
        EXPECT_TRUE(synth::writeWav(track_.toStdString(), samples, 1, 44100, synth::SampleFormat::kPcm16));
    }

    [[nodiscard]] QByteArray exported(const char* name) const
    {
        const QString path = folder_.path(text(name));
        const CliOutcome outcome = runCli({text("export"), track_, text("--waveform"), path});
        EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
        return QByteArray::fromStdString(testsupport::readWholeFile(path.toStdString()));
    }

    TrackFolder folder_;
    QString track_ = folder_.path(text("track.wav"));
};

TEST_F(ExportVerb, WritesPairsAsJson)
{
    const QJsonObject object = QJsonDocument::fromJson(exported("wave.json")).object();
    EXPECT_EQ(object[QLatin1String("version")].toInt(), 2);
    EXPECT_EQ(object[QLatin1String("channels")].toInt(), 1);
    EXPECT_EQ(object[QLatin1String("sample_rate")].toInt(), 44100);
    EXPECT_EQ(object[QLatin1String("samples_per_pixel")].toInt(), 420) << "six hops of 1/630 s";
    EXPECT_EQ(object[QLatin1String("bits")].toInt(), 8);
    EXPECT_EQ(object[QLatin1String("length")].toInt(), 1051) << "441000 / 420, and one that is begun";
    const QJsonArray data = object[QLatin1String("data")].toArray();
    ASSERT_EQ(data.size(), 2 * 1051);
    int highest = 0;
    for (int i = 0; i < data.size(); i += 2) {
        const int maximum = data[i + 1].toInt();
        EXPECT_EQ(data[i].toInt(), -maximum);
        EXPECT_GE(maximum, 0);
        EXPECT_LE(maximum, 127);
        highest = std::max(highest, maximum);
    }
    EXPECT_GT(highest, 30) << "there are kicks in it";
}

TEST_F(ExportVerb, WritesTheSameAsBytes)
{
    const QJsonArray data =
        QJsonDocument::fromJson(exported("wave.json")).object()[QLatin1String("data")].toArray();
    const QByteArray bytes = exported("wave.dat");
    ASSERT_EQ(bytes.size(), 24 + 2 * 1051);
    std::vector<qint32> header;
    for (int at = 0; at < 24; at += 4)
        header.push_back(qFromLittleEndian<qint32>(bytes.constData() + at));
    EXPECT_THAT(header, ElementsAre(2, 1, 44100, 420, 1051, 1));
    for (int i = 0; i < data.size(); ++i)
        ASSERT_EQ(static_cast<signed char>(bytes[24 + i]), data[i].toInt()) << i;
}

TEST_F(ExportVerb, FailsInWords)
{
    const CliOutcome outcome = runCli({text("export"), folder_.path(text("missing.wav")), text("--waveform"),
                                       folder_.path(text("out.dat"))});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors.toStdString(), HasSubstr("there is no such file"));
}

}  // namespace
