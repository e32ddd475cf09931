#include "network/sharing/SharingTest.h"

#include "synth/ClickTrack.h"
#include "synth/WavWriter.h"

#include <QDir>
#include <QFile>

namespace sharing {

TwoDevices::TwoDevices()
{
    wire.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
    wire.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.2/24")});
}

void TwoDevices::limitRate(const QString& rate) const
{
    a.run(QStringLiteral("tc qdisc replace dev eth0 root tbf rate %1 burst 32kbit latency 400ms").arg(rate));
}

std::unique_ptr<TestHost> hostWithWorker(const NetworkNamespace& place)
{
    const NetworkNamespace::Visit visit(place);
    auto host = std::make_unique<TestHost>();
    host->startWorker();
    return host;
}

std::unique_ptr<TestHost> TwoDevices::hostOnB() const { return hostWithWorker(b); }

bool TwoDevices::isQuietOnB() const
{
    const QStringList lines =
        b.run(QStringLiteral("ss -Htn state established")).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    return lines.filter(QStringLiteral("10.0.0.")).isEmpty();
}

std::string SharingTest::clicks(const TwoDevices& devices, const std::string& name, double seconds)
{
    const std::string path = devices.folder.file(name);
    EXPECT_TRUE(synth::writeWav(path, synth::clickTrack({.bpm = 120, .seconds = seconds}), 1, 44100,
                                synth::SampleFormat::kFloat32));
    return path;
}

std::vector<Message> SharingTest::localRun(const std::string& path)
{
    TestHost host;
    host.startWorker();
    auto messages = host.run(QByteArray::fromStdString(path));
    expectQuits(host);
    return messages;
}

void SharingTest::expectSame(const std::vector<Message>& remote, const std::vector<Message>& local)
{
    ASSERT_EQ(ids(remote), ids(local));
    for (std::size_t i = 0; i < local.size(); ++i)
        ASSERT_EQ(remote[i].payload, local[i].payload) << "message " << i << " of type " << local[i].id;
}

void SharingTest::expectQuits(TestHost& host)
{
    host.send(eboOfflineAnalysisProtocol::kQuit);
    EXPECT_EQ(host.exitStatus(), 0);
}

int threadsOf(qint64 processId)
{
    return static_cast<int>(QDir(QStringLiteral("/proc/%1/task").arg(processId))
                                .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                .size());
}

int descriptorsOf(qint64 processId)
{
    return static_cast<int>(QDir(QStringLiteral("/proc/%1/fd").arg(processId))
                                .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
                                .size());
}

long residentKiBOf(qint64 processId)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(processId));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const int at = text.indexOf("VmRSS:");
    return at < 0 ? 0 : text.mid(at + 6, text.indexOf("kB", at) - at - 6).trimmed().toLong();
}

}  // namespace sharing
