// Tracks on a device of another make, which shares no code with ours and keeps the protocol in its own way,
// or breaks it; analysed by the real worker.

#include "network/sharing/PeerFiles.h"
#include "network/sharing/SharingTest.h"
#include "support/repetitions.h"
#include "synth/ClickTrack.h"
#include "synth/WavWriter.h"

#include <QTimer>

#include <chrono>
#include <map>
#include <random>

namespace {

using namespace sharing;
using namespace eboOfflineAnalysisProtocol;
using namespace std::chrono_literals;
using peer::Bytes;
using peer::PeerDevice;
using testing::Each;
using testing::ElementsAre;
using testing::Not;
namespace nfs = peer::nfs;

using Asked = PeerFiles::Asked;
using Manner = PeerFiles::Manner;

std::u16string served(const std::string& name)
{
    return u"/Music/" + std::u16string(name.begin(), name.end());
}

/// One of a kind with the uuid of the test: in front of all of ours, or behind them.
peer::Uuid another(peer::Uuid uuid)
{
    constexpr std::uint8_t kFlipped = 0x20;
    uuid.back() = static_cast<std::uint8_t>(uuid.back() ^ kFlipped);
    return uuid;
}

QByteArray urlOf(const peer::Uuid& uuid, const std::string& name)
{
    return QByteArray::fromStdString("net://" + peer::written(uuid) + "/Music/" + name);
}

/// A device that serves files at 10.0.0.100 and up.
struct PeerServer {
    PeerServer(NetworkSwitch& wire, int number, const peer::Uuid& deviceUuid)
        : uuid(deviceUuid), address("10.0.0." + std::to_string(100 + number))
    {
        wire.plug(place, QStringLiteral("eth0"), {QString::fromStdString(address + "/24")});
    }

    void start()
    {
        device = std::make_unique<PeerDevice>(
            place, address, uuid, [this](PeerDevice& self, PeerDevice::Link link, const Bytes& payload) {
                files.take(self, link, payload);
            });
    }

    NetworkNamespace place;
    const peer::Uuid uuid;
    const std::string address;
    PeerFiles files;
    std::unique_ptr<PeerDevice> device;
};

/// A worker in a place of its own.
struct Listener {
    NetworkNamespace place;
    std::unique_ptr<TestHost> host;
};

class PeerServesTest : public SharingTest {
protected:
    /// Blocks of the track, about: 5 s of floats at 44100 Hz.
    static constexpr double kSeconds = 5;
    static constexpr std::uint64_t kMiddle = 100;

    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        wire_ = std::make_unique<NetworkSwitch>();
        EXPECT_TRUE(synth::writeWav(track_.file("track.wav"),
                                    synth::clickTrack({.bpm = 120, .seconds = kSeconds}), 1, 44100,
                                    synth::SampleFormat::kFloat32));
        content_ = testsupport::readWholeFile(track_.file("track.wav"));
    }

    PeerServer& server(const peer::Uuid& uuid)
    {
        servers_.push_back(std::make_unique<PeerServer>(*wire_, static_cast<int>(servers_.size()), uuid));
        return *servers_.back();
    }

    TestHost& listener()
    {
        listeners_.push_back(std::make_unique<Listener>());
        Listener& listener = *listeners_.back();
        const auto number = static_cast<int>(listeners_.size());
        wire_->plug(listener.place, QStringLiteral("eth0"), {QStringLiteral("10.0.0.%1/24").arg(number)});
        listener.host = hostWithWorker(listener.place);
        return *listener.host;
    }

    std::vector<Message> local() { return localRun(track_.file("track.wav")); }

    std::unique_ptr<NetworkSwitch> wire_;
    testsupport::TempDir track_;
    Bytes content_;
    std::vector<std::unique_ptr<PeerServer>> servers_;
    std::vector<std::unique_ptr<Listener>> listeners_;
};

/// The peer connects, as the lower uuid has to; or our devices do.
class PeerServes : public PeerServesTest, public testing::WithParamInterface<peer::Uuid> {};

/// Those that take long whichever device connects: at a small scale of the tests, one way is enough.
class PeerServesLong : public PeerServes {
protected:
    void SetUp() override
    {
        PeerServes::SetUp();
        if (!IsSkipped() && testsupport::repetitions(2) < 2 && GetParam() == peer::kLowestUuid)
            GTEST_SKIP() << "at the full scale only";
    }
};

INSTANTIATE_TEST_SUITE_P(Uuids, PeerServes, testing::Values(peer::kLowestUuid, peer::kHighestUuid),
                         [](const auto& uuids) {
                             return uuids.param == peer::kLowestUuid ? "ThePeerConnects" : "WeConnect";
                         });
INSTANTIATE_TEST_SUITE_P(Uuids, PeerServesLong, testing::Values(peer::kLowestUuid, peer::kHighestUuid),
                         [](const auto& uuids) {
                             return uuids.param == peer::kLowestUuid ? "ThePeerConnects" : "WeConnect";
                         });

/// Every 100th block, from the 50th on.
bool isUnlucky(const Asked& asked) { return asked.block % 100 == 50; }

void answerMostly(const Asked& asked)
{
    if (!isUnlucky(asked) || asked.time > 1)
        asked.send(asked.answer());
}

/// Some within the second after which they are asked for again, some after it, so that the question crosses
/// the answer.
void answerLate(const Asked& asked)
{
    if (isUnlucky(asked))
        asked.device.sendLater(asked.link, asked.answer(), asked.block < 100 ? 400ms : 1200ms);
    else
        asked.send(asked.answer());
}

void answerTwice(const Asked& asked)
{
    asked.send(asked.answer());
    asked.send(asked.answer());
    if (isUnlucky(asked))
        asked.send(asked.answer() + asked.answer());  // two messages in a packet
}

/// Offsets that are no beginning of a block; the unlucky ones get nothing else at first.
void answerAstray(const Asked& asked)
{
    const auto offset = static_cast<std::int64_t>(asked.block * PeerFiles::kBlockSize);
    const Bytes wrong(PeerFiles::kBlockSize, '\x41');
    asked.send(nfs::fileData(asked.object, offset + 1, wrong));
    asked.send(nfs::fileData(asked.object, -offset - 4096, wrong));
    asked.send(nfs::fileData(asked.object, INT64_MIN, wrong));
    asked.send(nfs::fileData(asked.object + 1000, offset, wrong));  // nobody's number
    if (!isUnlucky(asked) || asked.time > 1)
        asked.send(asked.answer());
}

void answerTooMuch(const Asked& asked)
{
    const auto offset = static_cast<std::int64_t>(asked.block * PeerFiles::kBlockSize);
    asked.send(nfs::fileData(asked.object, offset, Bytes(PeerFiles::kBlockSize + 1, '\x41')));
    if (isUnlucky(asked))
        asked.send(nfs::fileData(asked.object, offset, Bytes(60000, '\x41')));
    asked.send(asked.answer());
}

/// Other blocks, with other content than they have.
void answerUnasked(const Asked& asked)
{
    const Bytes wrong(PeerFiles::kBlockSize, '\x41');
    for (const std::uint64_t block : {asked.block + 1, asked.block + 2, std::uint64_t{1} << 40U})
        asked.send(
            nfs::fileData(asked.object, static_cast<std::int64_t>(block * PeerFiles::kBlockSize), wrong));
    asked.send(asked.answer());
}

void answerWithGarbage(const Asked& asked)
{
    std::mt19937 chance(static_cast<std::uint32_t>(asked.block));
    Bytes noise(chance() % 3000 + 1, '\0');
    for (char& byte : noise)
        byte = static_cast<char>(chance());
    constexpr std::int32_t kNoType = 999;
    asked.send(noise);
    asked.send(nfs::header(asked.object, kNoType));
    asked.send("fltx");
    asked.send(asked.answer().substr(0, 100));
    asked.send(nfs::dataInvalid(asked.object, {{5, 2}}, 0));                 // backwards
    asked.send(nfs::header(asked.object, 6) + peer::number64(1ULL << 60U));  // more ranges than there are
    asked.send(nfs::lockResponse(asked.object, 5, 77));
    asked.send(nfs::deleteResponse(asked.object, true));
    asked.device.sendBytes(asked.link, peer::number32(0x80000000) + peer::number32(0x7fffffff));
    asked.send(asked.answer());
}

TEST_P(PeerServes, TheTrackInEveryWeatherAndTheResultsAreThoseOfALocalRun)
{
    const std::map<std::string, void (*)(const Asked&)> manners{
        {"plain.wav", [](const Asked& asked) { asked.send(asked.answer()); }},
        {"lost.wav", answerMostly},
        {"late.wav", answerLate},
        {"twice.wav", answerTwice},
        {"astray.wav", answerAstray},
        {"long.wav", answerTooMuch},
        {"unasked.wav", answerUnasked},
        {"garbage.wav", answerWithGarbage}};
    PeerServer& peer = server(GetParam());
    for (const auto& [name, manner] : manners)
        peer.files.serve(served(name), content_, {.onBlock = manner});
    const auto expected = local();
    peer.start();
    std::map<std::string, TestHost*> hosts;
    for (const auto& [name, manner] : manners) {
        hosts[name] = &listener();
        hosts[name]->start(urlOf(peer.uuid, name));
    }
    for (const auto& [name, host] : hosts) {
        SCOPED_TRACE(name);
        expectSame(host->untilEnd(), expected);
        expectQuits(*host);
        EXPECT_EQ(peer.files.usersOf(served(name)), 1U);
    }
    for (const char* name : {"lost.wav", "astray.wav", "late.wav"}) {
        SCOPED_TRACE(name);
        const auto times = peer.files.requestsFor(served(name), name == std::string("late.wav") ? 150 : 50);
        ASSERT_GE(times.size(), 2U) << "asked for again";
        EXPECT_GE(times[1] - times[0], 700ms) << "after a second of silence";
    }
    EXPECT_GE(peer.files.requestsFor(served("lost.wav"), 150).size(), 2U);
}

TEST_P(PeerServes, WhatCannotBeReadIsAnError)
{
    constexpr std::int64_t kEndless = std::int64_t{1} << 62U;
    PeerServer& peer = server(GetParam());
    peer.files.serve(served("refused.wav"), content_, {.flags = 0});
    peer.files.serve(served("negative.wav"), content_, {.size = -1});
    peer.files.serve(served("least.wav"), content_, {.size = INT64_MIN});
    peer.files.serve(served("locked.wav"), content_, {.lockResult = 0});
    peer.files.serve(served("endless.wav"), content_, {.size = kEndless});
    peer.files.serve(served("gone.wav"), content_, {.onBlock = [](const Asked& asked) {
                         asked.send(asked.block < kMiddle ? asked.answer()
                                                          : nfs::objectUnavailable(asked.object));
                     }});
    peer.start();
    TestHost& host = listener();
    TestHost& gone = listener();
    TestHost& misled = listener();
    gone.start(urlOf(peer.uuid, "gone.wav"));
    misled.start(urlOf(peer.uuid, "endless.wav"));
    for (const char* name : {"refused.wav", "negative.wav"})
        EXPECT_THAT(ids(host.run(urlOf(peer.uuid, name))), ElementsAre(kStarted, kError)) << name;
    std::vector<TestHost*> others;
    for (const char* name : {"least.wav", "locked.wav", "missing.wav"}) {
        others.push_back(&listener());
        others.back()->start(urlOf(peer.uuid, name));
    }
    for (TestHost* const other : others) {
        EXPECT_THAT(ids(other->untilEnd()), ElementsAre(kStarted, kError));
        expectQuits(*other);
    }
    const auto messages = ids(gone.untilEnd());
    EXPECT_EQ(messages.back(), kError);
    EXPECT_GT(messages.size(), 2U) << "in the middle of the run";
    EXPECT_THAT(messages, Each(Not(kFinished)));

    // A reader that believes the size reads for ever, if it is answered: until it is told to quit.
    constexpr std::uint64_t kBeyondTheCache = 13'000;
    QTimer look;
    look.start(50ms);
    ASSERT_TRUE(
        until([&] { return !peer.files.requestsFor(served("endless.wav"), kBeyondTheCache).empty(); }));
    constexpr long kCacheKiB = 50'000;
#ifdef __SANITIZE_ADDRESS__
    constexpr long kWorkerKiB = 350'000;  // with the sanitizer's shadow and its quarantine
#else
    constexpr long kWorkerKiB = 70'000;
#endif
    EXPECT_LE(residentKiBOf(misled.workerPid()), kWorkerKiB + kCacheKiB);
    for (TestHost* const one : {&host, &gone, &misled})
        expectQuits(*one);
}

TEST_P(PeerServesLong, OneThatGoesInTheMiddleOfARunIsAnErrorSoon)
{
    PeerServer& rude = server(GetParam());
    PeerServer& mute = server(another(GetParam()));
    rude.files.serve(served("track.wav"), content_, {.onBlock = [](const Asked& asked) {
                         if (asked.block < kMiddle)
                             asked.send(asked.answer());
                         else
                             asked.device.hangUp();
                     }});
    mute.files.serve(served("track.wav"), content_, {.onBlock = [](const Asked& asked) {
                         if (asked.block < kMiddle)
                             asked.send(asked.answer());
                         else
                             asked.device.fallSilent();
                     }});
    const std::vector<PeerServer*> both{&rude, &mute};
    std::vector<TestHost*> hosts;
    for (PeerServer* const peer : both) {
        peer->start();
        hosts.push_back(&listener());
        hosts.back()->start(urlOf(peer->uuid, "track.wav"));
    }
    for (TestHost* const host : hosts) {
        const auto messages = ids(host->untilEnd());
        EXPECT_EQ(messages.back(), kError);
        EXPECT_GT(messages.size(), 2U) << "in the middle of the run";
        EXPECT_THAT(messages, Each(Not(kFinished)));
        expectQuits(*host);
    }
}

TEST_P(PeerServesLong, OneThatNeverOpensAFileIsAskedOnceASecondUntilTheEnd)
{
    PeerServer& peer = server(GetParam());
    peer.files.serve(served("never.wav"), content_, {.answersInfo = false});
    peer.start();
    TestHost& host = listener();
    host.start(urlOf(peer.uuid, "never.wav"));
    const auto started = host.next();
    ASSERT_TRUE(started.has_value());
    EXPECT_EQ(started->id, kStarted);
    QTimer look;
    look.start(50ms);
    ASSERT_TRUE(until([&] { return peer.files.requestsFor(served("never.wav")).size() >= 3; }));
    const auto times = peer.files.requestsFor(served("never.wav"));
    EXPECT_GE(times[2] - times[0], 1500ms);
    EXPECT_EQ(peer.files.usersOf(served("never.wav")), 1U);
    host.send(kQuit);
    while (const auto message = host.next())
        EXPECT_EQ(message->id, kStopped) << "nothing else was there to say";
    EXPECT_EQ(host.exitStatus(), 0);
}

TEST_P(PeerServesLong, AStartThatWaitsIsKeptOverALocalRunAndRunsOnce)
{
    PeerServer& peer = server(GetParam());
    peer.files.serve(served("track.wav"), content_, {});
    const auto expected = local();
    TestHost& host = listener();
    host.start(urlOf(peer.uuid, "track.wav"));
    // This takes the network down that the start has brought up.
    expectSame(host.run(QByteArray::fromStdString(track_.file("track.wav"))), expected);
    expectSame(host.run(QByteArray::fromStdString(track_.file("track.wav"))), expected);
    peer.start();
    expectSame(host.untilEnd(), expected);
    EXPECT_EQ(peer.files.usersOf(served("track.wav")), 1U);
    expectSame(host.run(urlOf(peer.uuid, "track.wav")), expected);
    expectSame(host.run(QByteArray::fromStdString(track_.file("track.wav"))), expected);
    EXPECT_EQ(peer.files.usersOf(served("track.wav")), 2U) << "nothing has begun by itself again";
    expectQuits(host);
}

}  // namespace
