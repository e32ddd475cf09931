#include "formats/ogg/vorbisCodebooks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace {

// Numbers in all books together, entries times dimension. Encoders use up to a hundred thousand.
constexpr std::int64_t kMostNumbers = std::int64_t{1} << 20U;

// Entries of one book, for each of which libvorbis takes eight bytes of the stack. Encoders use up to ten
// thousand.
constexpr std::int64_t kMostEntries = std::int64_t{1} << 15U;

constexpr std::string_view kSetupMagic("\5vorbis");
constexpr std::int64_t kBookMagic = 0x564342;

/// The bits of a packet, read as Vorbis packs them.
class Bits {
public:
    Bits(unsigned char* data, long bytes) { oggpack_readinit(&buffer_, data, static_cast<int>(bytes)); }

    /// The next number of up to 32 bits, -1 behind the end.
    std::int64_t read(int bits) { return oggpack_read(&buffer_, bits); }

    void skip(std::int64_t bits)
    {
        constexpr std::int64_t kStep = 1 << 20U;
        for (; bits > 0; bits -= kStep)
            oggpack_adv(&buffer_, static_cast<int>(std::min(bits, kStep)));
    }

private:
    oggpack_buffer buffer_{};
};

int bitsOf(std::int64_t number)
{
    int bits = 0;
    for (; number > 0; number >>= 1U)
        ++bits;
    return bits;
}

bool skipCodewordLengths(Bits& bits, std::int64_t entries)
{
    constexpr int kLengthBits = 5;
    const bool isOrdered = bits.read(1) == 1;
    if (isOrdered) {
        bits.read(kLengthBits);
        for (std::int64_t done = 0; done < entries;) {
            const std::int64_t count = bits.read(bitsOf(entries - done));
            if (count < 0)
                return false;
            done += count;
        }
        return true;
    }
    const bool isSparse = bits.read(1) == 1;
    for (std::int64_t entry = 0; entry < entries; ++entry) {
        if (isSparse && bits.read(1) == 0)
            continue;
        if (bits.read(kLengthBits) < 0)
            return false;
    }
    return true;
}

/// The greatest number whose power of the dimension is not above the entries.
std::int64_t latticeSide(std::int64_t entries, std::int64_t dimension)
{
    if (dimension == 1 || entries == 0)
        return entries;
    const auto fits = [&](std::int64_t side) {
        std::int64_t power = 1;
        for (std::int64_t i = 0; i < dimension && power <= entries; ++i)
            power *= side;
        return power <= entries;
    };
    std::int64_t side = 1;
    while (fits(side + 1))
        ++side;
    return side;
}

/// False if the kind of table is unknown.
bool skipValues(Bits& bits, std::int64_t entries, std::int64_t dimension)
{
    const std::int64_t kind = bits.read(4);
    if (kind == 0)
        return true;
    if (kind != 1 && kind != 2)
        return false;
    bits.skip(32 + 32);  // the least value and the step
    const std::int64_t width = bits.read(4) + 1;
    bits.skip(1);
    bits.skip(width * (kind == 1 ? latticeSide(entries, dimension) : entries * dimension));
    return true;
}

}  // namespace

bool areVorbisCodebooksSound(const ogg_packet& setup)
{
    const std::string_view bytes(reinterpret_cast<const char*>(setup.packet),
                                 static_cast<std::size_t>(setup.bytes));
    if (!bytes.starts_with(kSetupMagic))
        return false;
    Bits bits(setup.packet, setup.bytes);
    bits.skip(8 * static_cast<std::int64_t>(kSetupMagic.size()));
    std::int64_t numbers = 0;
    for (std::int64_t books = bits.read(8) + 1; books > 0; --books) {
        if (bits.read(24) != kBookMagic)
            return false;
        const std::int64_t dimension = bits.read(16);
        const std::int64_t entries = bits.read(24);
        if (dimension < 1 || entries < 0 || entries > kMostEntries)
            return false;
        numbers += dimension * entries;
        if (numbers > kMostNumbers || !skipCodewordLengths(bits, entries) ||
            !skipValues(bits, entries, dimension))
            return false;
    }
    return true;
}
