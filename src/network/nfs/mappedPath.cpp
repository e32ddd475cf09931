#include "network/nfs/mappedPath.h"

#include <array>
#include <climits>
#include <cstdint>

#include <sys/stat.h>

namespace {

using Byte = std::uint8_t;
using ByteMap = std::array<Byte, 256>;

/// From a byte to the last byte of its replacement; 0 for the bytes that stay.
constexpr ByteMap makeReplacements()
{
    ByteMap result{};
    constexpr Byte kLastControl = 0x1F;
    constexpr Byte kControlOffset = 0x80;
    for (Byte control = 1; control <= kLastControl; ++control)
        result[control] = control + kControlOffset;
    constexpr std::array<Byte, 8> kReserved{'"', '*', ':', '<', '>', '?', '\\', '|'};
    Byte replacement = 0xA0;
    for (const Byte byte : kReserved)
        result[byte] = replacement++;
    return result;
}

constexpr ByteMap kReplacements = makeReplacements();
constexpr Byte kFinalBlank = 0xA8;
constexpr Byte kFinalDot = 0xA9;

void appendReplacement(QByteArray& name, Byte replacement)
{
    name += "\xEF\x80";
    name += static_cast<char>(replacement);
}

bool isOnDisk(const QByteArray& path)
{
    struct stat status = {};
    return ::lstat(path.constData(), &status) == 0;
}

/// The path with every component but a leading drive replaced by what `choose` makes of it and of what stands
/// before it.
template <typename Choose>
QByteArray rebuilt(const QByteArray& path, Choose choose)
{
    QByteArray result;
    result.reserve(path.size());
    bool isFirst = true;
    for (int begin = 0;;) {
        const int slash = path.indexOf('/', begin);
        const QByteArray name = path.mid(begin, slash < 0 ? -1 : slash - begin);
        const bool isDrive = isFirst && name.endsWith(':');
        isFirst = isFirst && name.isEmpty();
        if (!name.isEmpty())
            result += isDrive ? name : choose(result, name);
        if (slash < 0)
            return result;
        result += '/';
        begin = slash + 1;
    }
}

}  // namespace

QByteArray mappedName(const QByteArray& name)
{
    if (name == "." || name == "..")
        return name;
    QByteArray result;
    result.reserve(name.size());
    for (const char byte : name) {
        if (const Byte replacement = kReplacements[static_cast<Byte>(byte)]; replacement != 0)
            appendReplacement(result, replacement);
        else
            result += byte;
    }
    if (result.endsWith(' ') || result.endsWith('.')) {
        const Byte replacement = result.endsWith(' ') ? kFinalBlank : kFinalDot;
        result.chop(1);
        appendReplacement(result, replacement);
    }
    return result;
}

QByteArray mappedPath(const QByteArray& path)
{
    return rebuilt(path,
                   [](const QByteArray& /*before*/, const QByteArray& name) { return mappedName(name); });
}

QByteArray mappedPathOrPlain(const QByteArray& path)
{
    if (path.size() >= PATH_MAX)
        return mappedPath(path);
    return rebuilt(path, [](const QByteArray& before, const QByteArray& name) {
        const QByteArray mapped = mappedName(name);
        const bool isPlain = mapped != name && !isOnDisk(before + mapped) && isOnDisk(before + name);
        return isPlain ? name : mapped;
    });
}
