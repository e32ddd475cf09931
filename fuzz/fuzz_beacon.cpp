#include "network/discovery/Beacon.h"

#include <cstdint>

/// Any datagram: it is no beacon, or one that reads the same after it has been written again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace eboDiscoverer;
    const QByteArray datagram(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const auto beacon = beaconFrom(datagram);
    const bool hasMagic = datagram.startsWith("eboD");
    if (beacon.has_value() != hasMagic)
        __builtin_trap();
    if (!beacon)
        return 0;
    const QByteArray written = toDatagram(*beacon);
    const auto again = beaconFrom(written);
    if (!again || toDatagram(*again) != written)
        __builtin_trap();
    if (beacon->hostName.size() + beacon->message.size() + beacon->applicationId.size() +
            beacon->applicationVersion.size() >
        static_cast<int>(size) / 2)
        __builtin_trap();  // texts of what is not there
    return 0;
}
