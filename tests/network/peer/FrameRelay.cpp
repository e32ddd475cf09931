#include "network/peer/FrameRelay.h"

#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/if_tun.h>
#include <map>
#include <net/if.h>
#include <poll.h>
#include <random>
#include <stdexcept>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace peer {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kLargestFrame = 2048;

struct Frame {
    int target;
    std::string bytes;
};

/// An interface whose cable is a descriptor: reading gives the frames that the system sends by it. The kernel
/// completes checksums and cuts large packets before that, as for a real cable.
int makeTap(const FrameRelay::End& end)
{
    int tap = -1;
    {
        const testsupport::NetworkNamespace::Visit visit(end.place);
        tap = open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK);
        ifreq request{};
        request.ifr_flags = IFF_TAP | IFF_NO_PI;
        std::strcpy(request.ifr_name, "eth0");
        if (tap < 0 || ioctl(tap, TUNSETIFF, &request) != 0)
            throw std::runtime_error(std::string("no tap interface: ") + std::strerror(errno));
    }
    end.place.run(QStringLiteral("ip link set eth0 addrgenmode none"));
    end.place.run(QStringLiteral("ip addr add %1 dev eth0").arg(QString::fromStdString(end.address)));
    end.place.run(QStringLiteral("ip link set eth0 up"));
    return tap;
}

int millisecondsUntil(Clock::time_point when)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - Clock::now());
    return std::max(0, static_cast<int>(left.count()));
}

}  // namespace

FrameRelay::FrameRelay(const End& one, const End& other, Character character)
    : character_(character), taps_{makeTap(one), makeTap(other)}, stop_(eventfd(0, EFD_CLOEXEC)),
      thread_(&FrameRelay::run, this)
{}

FrameRelay::~FrameRelay()
{
    eventfd_write(stop_, 1);
    thread_.join();
    close(stop_);
    for (const int tap : taps_)
        close(tap);
}

void FrameRelay::run()
{
    std::mt19937 chance(character_.seed);
    std::uniform_int_distribution<int> jitter(0, static_cast<int>(character_.jitter.count()));
    std::multimap<Clock::time_point, Frame> onTheWay;
    std::array<pollfd, 3> waiting{{{taps_[0], POLLIN, 0}, {taps_[1], POLLIN, 0}, {stop_, POLLIN, 0}}};
    std::string buffer(kLargestFrame, '\0');
    for (;;) {
        poll(waiting.data(), waiting.size(),
             onTheWay.empty() ? -1 : millisecondsUntil(onTheWay.begin()->first));
        if (waiting[2].revents != 0)
            return;
        for (std::size_t from = 0; from < taps_.size(); ++from) {
            ssize_t size = 0;
            while ((size = read(taps_.at(from), buffer.data(), buffer.size())) > 0)
                onTheWay.emplace(Clock::now() + character_.delay + std::chrono::milliseconds(jitter(chance)),
                                 Frame{taps_.at(1 - from), buffer.substr(0, static_cast<std::size_t>(size))});
        }
        while (!onTheWay.empty() && onTheWay.begin()->first <= Clock::now()) {
            const Frame& frame = onTheWay.begin()->second;
            // A full or downed interface loses the frame, as a cable would.
            [[maybe_unused]] const ssize_t written =
                write(frame.target, frame.bytes.data(), frame.bytes.size());
            onTheWay.erase(onTheWay.begin());
        }
    }
}

}  // namespace peer
