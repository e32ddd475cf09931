#include "FakeRun.h"

#include "fakePayloads.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QTcpSocket>

#include <csignal>
#include <ctime>
#include <functional>
#include <limits>
#include <unistd.h>
#include <vector>

namespace fakeworker {

using namespace eboOfflineAnalysisProtocol;

namespace {

constexpr double kDefaultGrid = -88199.0;
constexpr double kFinalGrid = -83200.0;  // beat 0 falls on frame 5000
constexpr double kLoudness = 0.25;
constexpr qint32 kAMinor = 1;
constexpr double kTempo = 120.0;
constexpr double kPlaceholderLoudness = 0.5;

}  // namespace

void FakeRun::send(quint32 id, const QByteArray& payload)
{
    sendMessage(&host_, 0, id, payload);
    sendRaw(QByteArray());
}

void FakeRun::sendRaw(const QByteArray& bytes)
{
    host_.write(bytes);
    while (host_.bytesToWrite() > 0 && host_.waitForBytesWritten(-1)) {
    }
}

void FakeRun::sendRunUpToTempo()
{
    send(kStarted);
    send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
    for (const float share : {0.0F, 0.32F, 0.64F, 0.96F}) {
        send(kBeatDataChunk, beatGrid(share < 0.96F ? kDefaultGrid : kFinalGrid));
        send(kOverviewWaveChunk, overviewWave());
        send(kHighResolutionWaveChunk, highResolutionWave());
        send(kProgress, progress(share));
    }
}

void FakeRun::sendGoodRun()
{
    sendRunUpToTempo();
    send(kTrackDataChunk, trackInfo(kLoudness, kAMinor));
    send(kFinished, finished(kTempo));
}

void FakeRun::sendWildOrder()
{
    send(kFinished, finished(1.0));
    send(kProgress, progress(1.0F));
    send(kTrackDataChunk, trackInfo(1.0, 23));
    send(kError);
    send(kStopped);
    send(kStarted);
    send(kHighResolutionWaveChunk, highResolutionWave());
    send(kStarted);
    send(99, QByteArray("what the future may bring"));
    send(kBeatDataChunk, beatGrid(kFinalGrid));
    send(kProgress, progress(0.9F));
    send(kProgress, progress(0.1F));
    send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
    send(kTrackDataChunk, trackInfo(kLoudness, kAMinor));
    send(kFinished, finished(kTempo));
    send(kFinished, finished(2.0));
    send(kError);
    send(kBeatDataChunk, beatGrid(kDefaultGrid));
}

void FakeRun::waitForStop()
{
    while (nextCommand(&host_).first != kStop) {
        if (!host_.waitForReadyRead(-1))
            _exit(0);
    }
}

void FakeRun::waitForTheHostToGo()
{
    while (host_.waitForReadyRead(-1)) {
    }
    _exit(0);
}

void FakeRun::crawl()
{
    send(kStarted);
    send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
    constexpr int kPauseMilliseconds = 20;
    while (host_.state() == QAbstractSocket::ConnectedState) {
        send(kProgress, progress(0.5F));
        host_.waitForReadyRead(kPauseMilliseconds);
    }
    _exit(0);
}

void FakeRun::eatMemory()
{
    send(kStarted);
    constexpr std::size_t kBite = std::size_t{16} << 20;
    constexpr std::size_t kFull = 512;  // bites: 8 GiB, for machines that set no limit
    std::vector<std::vector<char>> eaten;
    while (eaten.size() < kFull)
        eaten.emplace_back(kBite);
    sendGoodRun();
}

void FakeRun::crashOnce(const QString& track)
{
    send(kStarted);
    QFile trace(track + QStringLiteral(".trace"));
    if (trace.exists()) {
        sendGoodRun();
        return;
    }
    if (trace.open(QIODevice::WriteOnly))
        trace.close();
    raise(SIGKILL);
}

void FakeRun::run(const QString& track)
{
    const QHash<QString, std::function<void()>> scripts{
        {QStringLiteral("rejected"),
         [this] {
             send(kStarted);
             send(kError);
         }},
        {QStringLiteral("rejected-with-text"),
         [this] {
             send(kStarted);
             send(kError, QByteArray("the tape is torn"));
         }},
        {QStringLiteral("exits-after-start"),
         [this] {
             send(kStarted);
             _exit(7);
         }},
        {QStringLiteral("crashes"),
         [this] {
             send(kStarted);
             raise(SIGKILL);
         }},
        {QStringLiteral("exits-in-mid-frame"),
         [this] {
             send(kStarted);
             sendRaw(QByteArray::fromHex("00000000 05000000 1c00000000000000 12345678 00000000 0102030405"));
             _exit(0);
         }},
        {QStringLiteral("closes-the-connection"),
         [this] {
             send(kStarted);
             host_.close();
             pause();
         }},
        {QStringLiteral("falls-silent"),
         [this] {
             send(kStarted);
             send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
             waitForTheHostToGo();
         }},
        {QStringLiteral("never-opens"),
         [this] {
             send(kStarted);
             waitForTheHostToGo();
         }},
        {QStringLiteral("opens-slowly"),
         [this] {
             send(kStarted);
             constexpr int kMilliseconds = 1000;
             host_.waitForReadyRead(kMilliseconds);
             sendGoodRun();
         }},
        {QStringLiteral("never-starts"),
         [this] {
             for (;;)  // chatter that belongs to no run is silence, too
                 send(kProgress, progress(0.5F));
         }},
        {QStringLiteral("garbage"),
         [this] {
             send(kStarted);
             sendRaw(QByteArray(200, '\xFF'));
             waitForTheHostToGo();
         }},
        {QStringLiteral("huge-frame"),
         [this] {
             send(kStarted);
             sendRaw(QByteArray::fromHex("00000000 03000000 ffffffffffffff7f 00000000 00000000"));
             waitForTheHostToGo();
         }},
        {QStringLiteral("wrong-crc"),
         [this] {
             send(kStarted);
             sendRaw(QByteArray::fromHex("00000000 03000000 0400000000000000 00000001 00000000 0000003f"));
             sendGoodRun();
             waitForTheHostToGo();
         }},
        {QStringLiteral("lying-count"),
         [this] {
             send(kStarted);
             send(kBeatDataChunk, beatGridWithLyingCount());
             waitForTheHostToGo();
         }},
        {QStringLiteral("progress-is-no-number"),
         [this] {
             send(kStarted);
             send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
             send(kProgress, progress(std::numeric_limits<float>::quiet_NaN()));
             send(kTrackDataChunk, trackInfo(kLoudness, -1));
             send(kFinished, finished(kTempo));
         }},
        {QStringLiteral("wild-order"), [this] { sendWildOrder(); }},
        {QStringLiteral("no-key"),
         [this] {
             sendRunUpToTempo();
             send(kTrackDataChunk, trackInfo(kLoudness, -1));
             send(kFinished, finished(kTempo));
         }},
        {QStringLiteral("only-the-tempo"),
         [this] {
             send(kStarted);
             send(kFinished, finished(kTempo));
         }},
        {QStringLiteral("burns-a-fifth-of-a-second"),
         [this] {
             const std::clock_t begin = std::clock();
             while (std::clock() - begin < CLOCKS_PER_SEC / 5) {
             }
             sendGoodRun();
         }},
        {QStringLiteral("ends-early"),
         [this] {
             send(kStarted);
             send(kTrackDataChunk, trackInfo(kPlaceholderLoudness, -1));
             send(kProgress, progress(0.32F));
             send(kTrackDataChunk, trackInfo(kLoudness, kAMinor));
             send(kFinished, finished(kTempo));
         }},
        {QStringLiteral("crawls"), [this] { crawl(); }},
        {QStringLiteral("eats-memory"), [this] { eatMemory(); }},
        {QStringLiteral("crashes-once"), [this, track] { crashOnce(track); }},
        {QStringLiteral("good-then-exits"),
         [this] {
             sendGoodRun();
             _exit(0);
         }},
        {QStringLiteral("good-then-ignores-quit"),
         [this] {
             ignoresQuit_ = true;
             sendGoodRun();
         }},
        {QStringLiteral("waits-for-stop"),
         [this] {
             send(kStarted);
             send(kProgress, progress(0.5F));
             waitForStop();
             send(kStopped);
         }},
    };
    scripts.value(QFileInfo(track).completeBaseName(), [this] { sendGoodRun(); })();
}

}  // namespace fakeworker
