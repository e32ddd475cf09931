// Any bytes as the contents of an audio file: opening, reading and seeking end cleanly.

#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/ffmpeg/prepareFfmpeg.h"
#include "readHereAndThere.h"
#include "support/MemoryFile.h"

#include <cstddef>
#include <cstdint>
#include <string>

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
