#include "network/peer/PeerDevice.h"

#include <algorithm>
#include <poll.h>
#include <stdexcept>
#include <utility>

namespace peer {
namespace {

using namespace std::chrono_literals;

const std::string kService = "FileTransfer";
const Bytes kOurMake = text("Tunesift");
constexpr auto kBeaconInterval = 200ms;
constexpr int kTurnMilliseconds = 10;  // at the most between two looks at the beacons
constexpr std::chrono::seconds kGuard(60);

std::uint32_t numberAt(const Bytes& bytes, std::size_t at, unsigned octets)
{
    std::uint32_t value = 0;
    for (std::size_t i = at; i < at + octets; ++i)
        value = value << 8U | static_cast<unsigned char>(bytes.at(i));
    return value;
}

Uuid uuidAt(const Bytes& bytes, std::size_t at)
{
    Uuid uuid{};
    for (std::size_t i = 0; i < uuid.size(); ++i)
        uuid.at(i) = static_cast<std::uint8_t>(bytes.at(at + i));
    return uuid;
}

/// What an announcement of a service and the opening of one look like: type, uuid, name, port.
const std::size_t kServiceInfoSize = serviceInfo({}, kService, 0).size();
constexpr std::size_t kPingSize = 44;

}  // namespace

PeerDevice::PeerDevice(const testsupport::NetworkNamespace& place, std::string address, const Uuid& uuid,
                       Handler handler)
    : place_(place), address_(std::move(address)), uuid_(uuid), handler_(std::move(handler)),
      mouth_(place, address_), ear_(place, "0.0.0.0", kBeaconPort), directoryPort_(place),
      servicePort_(place), thread_(&PeerDevice::run, this)
{}

PeerDevice::~PeerDevice()
{
    isEnding_ = true;
    thread_.join();
}

bool PeerDevice::waitForLinks(int count)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kGuard, [&] { return static_cast<int>(links_.size()) >= count; });
}

PeerDevice::LinkState* PeerDevice::find(Link link)
{
    const std::lock_guard lock(mutex_);
    const auto entry = links_.find(link);
    return entry == links_.end() ? nullptr : &entry->second;
}

void PeerDevice::send(Link link, const Bytes& payload)
{
    sendBytes(link, number32(static_cast<std::uint32_t>(payload.size())) + payload);
}

void PeerDevice::sendBytes(Link link, const Bytes& bytes)
{
    LinkState* const state = find(link);
    if (state == nullptr || state->hasEnded || isSilent_)
        return;
    const std::lock_guard sending(state->sending);
    try {
        state->connection.send(bytes);
    } catch (const std::runtime_error&) {
        state->hasEnded = true;  // the other side has gone, as it may
    }
}

void PeerDevice::sendLater(Link link, const Bytes& payload, std::chrono::milliseconds delay)
{
    const std::lock_guard lock(mutex_);
    later_.emplace(Clock::now() + delay, Later{link, payload});
}

std::optional<Bytes> PeerDevice::next(Link link)
{
    std::unique_lock lock(mutex_);
    const auto entry = links_.find(link);
    if (entry == links_.end())
        return std::nullopt;
    LinkState& state = entry->second;
    changed_.wait_for(lock, kGuard, [&] { return !state.packets.empty() || state.hasEnded; });
    if (state.packets.empty())
        return std::nullopt;
    Bytes packet = std::move(state.packets.front());
    state.packets.pop_front();
    return packet;
}

std::optional<Bytes> PeerDevice::nextWaiting(Link link)
{
    const std::lock_guard lock(mutex_);
    const auto entry = links_.find(link);
    if (entry == links_.end() || entry->second.packets.empty())
        return std::nullopt;
    Bytes packet = std::move(entry->second.packets.front());
    entry->second.packets.pop_front();
    return packet;
}

void PeerDevice::run()
{
    while (!isEnding_) {
        if (isHangingUp_)
            endEverything();
        else
            hear();
        waitForSomething();
        if (isHangingUp_)
            continue;
        acceptAll();
        for (Talk& directory : directories_)
            talk(directory);
        for (Talk& opening : openings_)
            readOpening(opening);
        for (const Talk& directory : directories_) {
            if (directory.isDone)
                met_.erase(directory.other);
        }
        dropDone(directories_);
        dropDone(openings_);
        // Only this thread adds links, and they stay.
        for (auto& [link, state] : links_)
            read(link, state);
        sendWhatIsDue();
    }
}

void PeerDevice::dropDone(std::vector<Talk>& talks)
{
    std::vector<Talk> kept;  // connections can move, but not take another's place
    for (Talk& one : talks) {
        if (!one.isDone)
            kept.push_back(std::move(one));
    }
    talks.swap(kept);
}

void PeerDevice::waitForSomething() const
{
    std::vector<pollfd> waiting{{directoryPort_.descriptor(), POLLIN, 0},
                                {servicePort_.descriptor(), POLLIN, 0}};
    for (const Talk& directory : directories_)
        waiting.push_back({directory.connection.descriptor(), POLLIN, 0});
    for (const Talk& opening : openings_)
        waiting.push_back({opening.connection.descriptor(), POLLIN, 0});
    for (const auto& [link, state] : links_) {
        if (!state.hasEnded)
            waiting.push_back({state.connection.descriptor(), POLLIN, 0});
    }
    poll(waiting.data(), waiting.size(), kTurnMilliseconds);
}

/// Speaks to everybody when it is time, and listens who is there.
void PeerDevice::hear()
{
    if (!isSilent_ && Clock::now() >= nextBeacon_) {
        nextBeacon_ = Clock::now() + kBeaconInterval;
        mouth_.send(beacon({.uuid = uuid_, .port = directoryPort_.port()}));
    }
    while (const auto heard = ear_.nextWaiting()) {
        const Bytes& bytes = heard->bytes;
        constexpr std::size_t kLeast = 22;
        if (bytes.size() < kLeast || bytes.compare(0, 4, "eboD") != 0)
            continue;
        // Several of this make leave each other alone: what they want to talk to is ours.
        if (bytes.find(kOurMake) == Bytes::npos)
            continue;
        const Uuid other = uuidAt(bytes, 4);
        const auto port = static_cast<std::uint16_t>(numberAt(bytes, bytes.size() - 2, 2));
        if (other != uuid_ && isLower(other) && port != 0)
            meet(other, heard->from, port);
    }
}

void PeerDevice::meet(const Uuid& other, const std::string& address, std::uint16_t port)
{
    if (met_.count(other) != 0)
        return;
    try {
        Talk directory{PeerConnection(place_, address, port), address, other, {}};
        directory.connection.send(whois(uuid_));
        directories_.push_back(std::move(directory));
        met_.insert(other);
    } catch (const std::runtime_error&) {
        // it is about to leave; its next beacon, if there is one, is another chance
    }
}

void PeerDevice::acceptAll()
{
    while (auto connection = directoryPort_.accept()) {
        connection->send(whois(uuid_));
        directories_.push_back({std::move(*connection), {}, {}, {}});
    }
    while (auto connection = servicePort_.accept())
        openings_.push_back({std::move(*connection), {}, {}, {}});
}

/// Reads messages of a directory connection as they become whole.
void PeerDevice::talk(Talk& directory)
{
    const auto arrived = directory.connection.arrived();
    if (!arrived) {
        directory.isDone = true;
        return;
    }
    directory.arrived += *arrived;
    Bytes& bytes = directory.arrived;
    constexpr std::uint32_t kServiceInfo = 0;
    constexpr std::uint32_t kPing = 1;
    while (bytes.size() >= kWhoisSize) {
        const std::uint32_t type = numberAt(bytes, 0, 4);
        const std::size_t size = type == kServiceInfo ? kServiceInfoSize
                                 : type == kPing      ? kPingSize
                                                      : kWhoisSize;
        if (bytes.size() < size)
            return;
        const Bytes message = bytes.substr(0, size);
        bytes.erase(0, size);
        if (type == kServiceInfo && !directory.address.empty()) {
            const auto port = static_cast<std::uint16_t>(numberAt(message, size - 2, 2));
            try {
                PeerConnection service(place_, directory.address, port);
                service.send(serviceInfo(uuid_, kService, 1));
                addLink(std::move(service), {});
            } catch (const std::runtime_error&) {
                directory.isDone = true;
            }
        } else if (type != kServiceInfo && type != kPing && directory.address.empty()) {
            directory.connection.send(serviceInfo(uuid_, kService, servicePort_.port()));
        }
    }
}

void PeerDevice::readOpening(Talk& opening)
{
    const auto arrived = opening.connection.arrived();
    if (!arrived) {
        opening.isDone = true;
        return;
    }
    opening.arrived += *arrived;
    if (opening.arrived.size() < kServiceInfoSize)
        return;
    opening.isDone = true;
    addLink(std::move(opening.connection), opening.arrived.substr(kServiceInfoSize));
}

void PeerDevice::addLink(PeerConnection connection, Bytes arrived)
{
    const std::lock_guard lock(mutex_);
    const Link link = static_cast<Link>(links_.size());
    links_.emplace(std::piecewise_construct, std::forward_as_tuple(link),
                   std::forward_as_tuple(std::move(connection), std::move(arrived)));
    changed_.notify_all();
}

void PeerDevice::read(Link link, LinkState& state)
{
    if (state.hasEnded)
        return;
    const auto arrived = state.connection.arrived();
    if (!arrived) {
        const std::lock_guard lock(mutex_);
        state.hasEnded = true;
        changed_.notify_all();
        return;
    }
    state.arrived += *arrived;
    std::size_t at = 0;
    constexpr std::size_t kHead = 4;
    while (state.arrived.size() - at >= kHead) {
        const std::size_t size = numberAt(state.arrived, at, kHead);
        if (state.arrived.size() - at - kHead < size)
            break;
        const Bytes payload = state.arrived.substr(at + kHead, size);
        at += kHead + size;
        if (handler_) {
            handler_(*this, link, payload);
            continue;
        }
        const std::lock_guard lock(mutex_);
        state.packets.push_back(payload);
        changed_.notify_all();
    }
    state.arrived.erase(0, at);
}

void PeerDevice::sendWhatIsDue()
{
    std::vector<Later> due;
    {
        const std::lock_guard lock(mutex_);
        const auto end = later_.upper_bound(Clock::now());
        for (auto entry = later_.begin(); entry != end; ++entry)
            due.push_back(std::move(entry->second));
        later_.erase(later_.begin(), end);
    }
    for (const Later& one : due)
        send(one.link, one.payload);
}

void PeerDevice::endEverything()
{
    directories_.clear();
    openings_.clear();
    const std::lock_guard lock(mutex_);
    for (auto& [link, state] : links_) {
        if (!state.hasEnded.exchange(true))
            state.connection.hangUp();
    }
    changed_.notify_all();
}

}  // namespace peer
