#include "network/sharing/PeerVisitor.h"

#include <stdexcept>

namespace sharing {

using peer::Bytes;
namespace nfs = peer::nfs;

PeerVisitor::PeerVisitor(const testsupport::NetworkNamespace& place, const std::string& address,
                         const peer::Uuid& uuid)
    : device_(place, address, uuid)
{
    if (!device_.waitForLinks(1))
        throw std::runtime_error("nobody joins with " + peer::written(uuid));
}

Bytes PeerVisitor::answer()
{
    constexpr std::int32_t kDeviceInfo = 8;
    while (auto packet = device_.next(kLink)) {
        if (nfs::received(*packet).type != kDeviceInfo)
            return *packet;
    }
    return {};
}

Bytes PeerVisitor::answerTo(const Bytes& request)
{
    ask(request);
    return answer();
}

std::vector<Bytes> PeerVisitor::answersUpTo(std::uint32_t object, std::int32_t type)
{
    std::vector<Bytes> result;
    for (;;) {
        result.push_back(answer());
        if (result.back().empty())
            return {};
        const auto message = nfs::received(result.back());
        if (message.object == object && message.type == type)
            return result;
    }
}

}  // namespace sharing
