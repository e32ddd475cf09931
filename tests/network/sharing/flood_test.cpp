// A hostile device at full speed beside an honest guest of `tunesift share`: what the guest notices, and what
// it costs.

#include "network/peer/BeaconSocket.h"
#include "network/peer/PeerConnection.h"
#include "network/peer/PeerListener.h"
#include "network/sharing/PeerVisitor.h"
#include "network/sharing/SharingTest.h"
#include "support/repetitions.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QRegularExpression>

#include <atomic>
#include <chrono>
#include <deque>
#include <thread>

namespace {

using namespace sharing;
using namespace std::chrono_literals;
using peer::BeaconSocket;
using peer::Bytes;
using peer::PeerConnection;
using Clock = std::chrono::steady_clock;

const std::string kVictim = "10.0.0.1";
const std::string kEnemy = "10.0.0.3";

/// Lets something happen so often a second, a hundredth of a second's worth at a time, until it is told to
/// stop.
template <typename Deed>
void atRate(int perSecond, const std::atomic<bool>& stop, Deed deed)
{
    auto next = Clock::now();
    while (!stop) {
        for (int i = 0; i < perSecond / 100; ++i)
            deed();
        next += 10ms;
        std::this_thread::sleep_until(next);
    }
}

/// The hostile device. It knows what everybody can hear.
class Enemy {
public:
    Enemy(const NetworkNamespace& place, std::string victim)
        : place_(place), mouth_(place, kEnemy), ear_(place, "0.0.0.0", peer::kBeaconPort)
    {
        const Bytes uuid = peer::uuidBytes(peer::uuidFrom(victim));
        while (const auto heard = ear_.next()) {
            if (heard->from != kVictim || heard->bytes.substr(4, 16) != uuid)
                continue;
            const auto octet = [&](std::size_t fromEnd) {
                return static_cast<std::uint8_t>(heard->bytes.at(heard->bytes.size() - fromEnd));
            };
            port_ = static_cast<std::uint16_t>(octet(2) * 256 + octet(1));
            return;
        }
    }

    void garbage(const std::atomic<bool>& stop)
    {
        std::uint32_t state = 1;
        atRate(10000, stop, [&] {
            Bytes bytes = "eboD";
            for (int i = 0; i < 200; ++i)
                bytes.push_back(static_cast<char>((state = state * 1664525 + 1013904223) >> 24U));
            mouth_.send(bytes, kVictim);
        });
    }

    void fakeDevices(const std::atomic<bool>& stop)
    {
        constexpr int kDevices = 500;
        std::deque<peer::PeerListener> listeners;  // each a device of its own, down to the port
        for (int i = 0; i < kDevices; ++i)
            listeners.emplace_back(place_);
        std::vector<PeerConnection> taken;
        int number = 0;
        atRate(kDevices, stop, [&] {
            number = (number + 1) % kDevices;
            peer::BeaconFields fields;
            fields.uuid.fill(number % 2 == 0 ? 0x00 : 0xff);
            fields.uuid.at(14) = static_cast<std::uint8_t>(number / 256);
            fields.uuid.at(15) = static_cast<std::uint8_t>(number % 256);
            const peer::PeerListener& listener = listeners.at(static_cast<std::size_t>(number));
            fields.port = listener.port();
            mouth_.send(peer::beacon(fields), kVictim);
            while (auto connection = listener.accept())
                taken.push_back(std::move(*connection));
        });
    }

    void silentConnections(const std::atomic<bool>& stop)
    {
        std::deque<PeerConnection> silent;
        constexpr std::size_t kMost = 2000;
        while (!stop) {
            try {
                silent.emplace_back(place_, kVictim, port_);
            } catch (const std::runtime_error&) {
                std::this_thread::sleep_for(1ms);
            }
            if (silent.size() > kMost)
                silent.pop_front();
        }
    }

    void intoAService(const std::atomic<bool>& stop)
    {
        const peer::Uuid self{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
        const std::uint16_t service = servicePort(self);
        std::optional<PeerConnection> stream;
        const Bytes packet = peer::number32(50000) + Bytes(50000, 'x');
        int count = 0;
        atRate(2000, stop, [&] {
            if (++count % 500 == 0)
                mouth_.send(peer::beacon({.uuid = self}), kVictim);
            try {
                if (!stream) {
                    stream.emplace(place_, kVictim, service);
                    stream->send(peer::serviceInfo(self, "FileTransfer", 1));
                }
                stream->send(packet);
            } catch (const std::runtime_error&) {
                stream.reset();
            }
        });
    }

    void serviceInfos(const std::atomic<bool>& stop)
    {
        const peer::Uuid self = peer::kHighestUuid;
        const peer::PeerListener listener(place_);
        std::optional<PeerConnection> directory;
        Bytes many;
        for (int i = 0; i < 100; ++i)
            many += peer::serviceInfo(self, "FileTransfer", listener.port());
        atRate(100, stop, [&] {
            mouth_.send(peer::beacon({.uuid = self, .port = listener.port()}), kVictim);
            while (auto connection = listener.accept()) {
                directory.emplace(std::move(*connection));
                directory->send(peer::whois(self));
            }
            if (directory) {
                (void)directory->arrived();
                try {
                    directory->send(many);
                } catch (const std::runtime_error&) {
                    directory.reset();
                }
            }
        });
    }

private:
    /// Becomes known, connects, says who it is and hears where the service is.
    std::uint16_t servicePort(const peer::Uuid& self)
    {
        for (;;) {
            mouth_.send(peer::beacon({.uuid = self}), kVictim);
            std::this_thread::sleep_for(100ms);
            directory_.emplace(place_, kVictim, port_);
            directory_->send(peer::whois(self));
            std::this_thread::sleep_for(100ms);
            const auto said = directory_->arrived();
            constexpr std::size_t kSize = peer::kWhoisSize + 20 + 28 + 2;
            if (said && said->size() >= kSize)
                return static_cast<std::uint16_t>(static_cast<std::uint8_t>(said->at(kSize - 2)) * 256 +
                                                  static_cast<std::uint8_t>(said->at(kSize - 1)));
            directory_.reset();
        }
    }

    const NetworkNamespace& place_;
    const BeaconSocket mouth_;
    const BeaconSocket ear_;
    std::uint16_t port_ = 0;
    std::optional<PeerConnection> directory_;
};

struct Attack {
    const char* name;
    void (Enemy::*begin)(const std::atomic<bool>& stop);
};

class Flood : public SharingTest, public testing::WithParamInterface<Attack> {
protected:
    [[nodiscard]] static qint64 residentKibibytes(qint64 processId)
    {
        QFile file(QStringLiteral("/proc/%1/status").arg(processId));
        file.open(QIODevice::ReadOnly);
        const QRegularExpression line(QStringLiteral("VmRSS:\\s+(\\d+)"));
        return line.match(QString::fromUtf8(file.readAll())).captured(1).toLongLong();
    }

    [[nodiscard]] static int descriptors(qint64 processId)
    {
        return QDir(QStringLiteral("/proc/%1/fd").arg(processId))
            .entryList(QDir::Files | QDir::System)
            .size();
    }

    [[nodiscard]] static int descriptorLimit(qint64 processId)
    {
        QFile file(QStringLiteral("/proc/%1/limits").arg(processId));
        file.open(QIODevice::ReadOnly);
        const QRegularExpression line(QStringLiteral("Max open files\\s+(\\d+)"));
        return line.match(QString::fromUtf8(file.readAll())).captured(1).toInt();
    }
};

TEST_P(Flood, LeavesAnHonestGuestServed)
{
    TwoDevices devices;
    NetworkNamespace enemyPlace;
    devices.wire.plug(enemyPlace, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24")});
    testsupport::writeWholeFile(devices.folder.file("there"), "content");
    const ShareProcess share(devices.a, QString::fromStdString(devices.folder.path()));
    PeerVisitor guest(devices.b, "10.0.0.2", peer::kLowestUuid);
    Enemy enemy(enemyPlace, share.uuid().toStdString());

    std::atomic<bool> stop{false};
    std::thread attack([&] { (enemy.*GetParam().begin)(stop); });
    std::atomic<int> answers{0};
    std::atomic<qint64> slowest{0};
    std::atomic<bool> isCutOff{false};
    std::thread honest([&] {
        while (!stop && !isCutOff) {
            QElapsedTimer clock;
            clock.start();
            isCutOff = guest.answerTo(peer::nfs::infoRequest(1, u"/Music/there")).empty();
            slowest = std::max(slowest.load(), clock.elapsed());
            ++answers;
            std::this_thread::sleep_for(50ms);
        }
    });
    qint64 resident = 0;
    int open = 0;
    QElapsedTimer clock;
    clock.start();
    QTimer look;
    look.start(100);
    EXPECT_TRUE(until([&] {
        resident = std::max(resident, residentKibibytes(share.processId()));
        open = std::max(open, descriptors(share.processId()));
        return isCutOff || clock.hasExpired(1000LL * testsupport::repetitions(30));
    }));
    stop = true;
    honest.join();
    attack.join();
    const int limit = descriptorLimit(share.processId());
    std::cout << GetParam().name << ": " << answers << " answers, the slowest after " << slowest << " ms; "
              << resident / 1024 << " MiB resident; " << open << " of " << limit << " descriptors\n";
    EXPECT_FALSE(isCutOff);
    EXPECT_GT(answers, testsupport::repetitions(30));
    EXPECT_LT(open, limit / 2);
#ifndef __SANITIZE_ADDRESS__  // which keeps what is freed
    EXPECT_LT(resident, 60 * 1024);
#endif
}

INSTANTIATE_TEST_SUITE_P(, Flood,
                         testing::Values(Attack{"Garbage", &Enemy::garbage},
                                         Attack{"FakeDevices", &Enemy::fakeDevices},
                                         Attack{"SilentConnections", &Enemy::silentConnections},
                                         Attack{"IntoAService", &Enemy::intoAService},
                                         Attack{"ServiceInfos", &Enemy::serviceInfos}),
                         [](const auto& attack) { return attack.param.name; });

}  // namespace
