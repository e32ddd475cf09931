#include "network/sharing/PeerFiles.h"

#include <algorithm>

namespace sharing {

using peer::Bytes;
using peer::PeerDevice;
namespace nfs = peer::nfs;

Bytes PeerFiles::Asked::bytes() const
{
    const std::uint64_t offset = block * kBlockSize;
    return offset < content.size() ? content.substr(offset, kBlockSize) : Bytes();
}

Bytes PeerFiles::Asked::answer() const
{
    return nfs::fileData(object, static_cast<std::int64_t>(block * kBlockSize), bytes());
}

void PeerFiles::serve(const std::u16string& path, Bytes content, Manner manner)
{
    Served& served = files_[path];
    served.content = std::move(content);
    served.manner = std::move(manner);
}

void PeerFiles::take(PeerDevice& device, PeerDevice::Link link, const Bytes& payload)
{
    constexpr std::int32_t kFileRequest = 2004;
    constexpr std::int32_t kDataRequest = 2005;
    constexpr std::int32_t kLockRequest = 2009;
    auto message = nfs::received(payload);
    const User user{link, message.object};
    if (message.type == kFileRequest) {
        onFileRequest(device, user, message.body.text());
    } else if (message.type == kDataRequest) {
        onDataRequest(device, user, message.body.ranges());
    } else if (message.type == kLockRequest) {
        onLockRequest(device, user, static_cast<std::int32_t>(message.body.number(4)));
    }
}

void PeerFiles::onFileRequest(PeerDevice& device, const User& user, const std::u16string& path)
{
    Bytes answer = nfs::fileInfo(user.second, 0, 0);
    {
        const std::lock_guard lock(mutex_);
        const auto file = files_.find(path);
        if (file != files_.end()) {
            Served& served = file->second;
            served.requests.push_back(Clock::now());
            if (users_.emplace(user, &served).second)
                ++served.users;
            if (!served.manner.answersInfo)
                return;
            const auto size = served.manner.size == kTrueSize
                                  ? static_cast<std::int64_t>(served.content.size())
                                  : served.manner.size;
            answer = nfs::fileInfo(user.second, size, served.manner.flags);
        }
    }
    device.send(user.first, answer);
}

void PeerFiles::onLockRequest(PeerDevice& device, const User& user, std::int32_t level)
{
    Bytes answer;
    {
        const std::lock_guard lock(mutex_);
        const auto entry = users_.find(user);
        if (entry == users_.end())
            return;
        answer = nfs::lockResponse(user.second, entry->second->manner.lockResult, level);
    }
    device.send(user.first, answer);
}

void PeerFiles::onDataRequest(PeerDevice& device, const User& user, const nfs::Ranges& ranges)
{
    for (const auto& [first, last] : ranges) {
        for (std::uint64_t block = first; block <= last; ++block) {
            Served* served = nullptr;
            int time = 0;
            {
                const std::lock_guard lock(mutex_);
                const auto entry = users_.find(user);
                if (entry == users_.end())
                    return;
                served = entry->second;
                served->blockRequests[block].push_back(Clock::now());
                time = ++served->timesAsked[{user, block}];
            }
            served->manner.onBlock({device, user.first, user.second, block, time, served->content});
        }
    }
}

std::vector<PeerFiles::Clock::time_point> PeerFiles::requestsFor(const std::u16string& path) const
{
    const std::lock_guard lock(mutex_);
    return files_.at(path).requests;
}

std::size_t PeerFiles::usersOf(const std::u16string& path) const
{
    const std::lock_guard lock(mutex_);
    return files_.at(path).users;
}

std::vector<PeerFiles::Clock::time_point> PeerFiles::requestsFor(const std::u16string& path,
                                                                 std::uint64_t block) const
{
    const std::lock_guard lock(mutex_);
    const auto& all = files_.at(path).blockRequests;
    const auto entry = all.find(block);
    return entry == all.end() ? std::vector<Clock::time_point>() : entry->second;
}

}  // namespace sharing
