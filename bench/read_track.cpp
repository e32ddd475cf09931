#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"

#include <QString>

#include <cstdint>
#include <cstdio>
#include <vector>

/// read_track FILE: reads the file to its end as an analysis does, in mono blocks, and prints its frames.
/// What decoders.py measures.
int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: read_track FILE\n", stderr);
        return 2;
    }
    const auto formats = ebo::makeRef<eboFileFormats>(nullptr);
    const auto reader =
        ebo::dynamicCast<eboAudioFormatReader>(formats->createReader(QString::fromUtf8(argv[1])));
    if (!reader)
        return 1;
    constexpr std::uint32_t kBlockFrames = 16384;
    std::vector<float> mono(kBlockFrames);
    std::uint64_t frames = 0;
    std::uint32_t delivered = kBlockFrames;
    for (std::uint32_t first = 0; delivered == kBlockFrames; first += kBlockFrames) {
        delivered = reader->readMono(mono.data(), first, kBlockFrames);
        frames += delivered;
    }
    std::printf("%llu\n", static_cast<unsigned long long>(frames));
    return 0;
}
