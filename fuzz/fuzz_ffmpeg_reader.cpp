// Any bytes as the contents of an audio file: opening, reading and seeking end cleanly.

#include "formats/ffmpegFileReader.h"
#include "formats/prepareFfmpeg.h"
#include "support/MemoryFile.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr std::uint32_t kBlockFrames = 16384;
constexpr std::uint32_t kMostFrames = 8 * kBlockFrames;

void readHereAndThere(ffmpegFileReader& reader)
{
    std::vector<float> mono(kBlockFrames);
    for (std::uint32_t frame = 0; frame < kMostFrames; frame += kBlockFrames) {
        if (reader.readMono(mono.data(), frame, kBlockFrames) < kBlockFrames)
            break;
    }
    for (const std::uint32_t frame : {reader.length() / 2, 1000U, 4294967295U, 0U})
        reader.readMono(mono.data(), frame, 100);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    prepareFfmpeg();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    try {
        const auto reader =
            ebo::makeRef<ffmpegFileReader>(ebo::makeRef<testsupport::MemoryFile>("/file", bytes));
        readHereAndThere(*reader);
        reader->selectAudioStream(1);
        readHereAndThere(*reader);
    } catch (const eboFormatReader::FileUnsupported&) {
        return 0;
    }
    return 0;
}
