// Any bytes as the contents of an audio file: opening, reading, seeking and cloning
// end cleanly, also where the file fails.

#include "formats/ffmpeg/ffmpegFileReader.h"
#include "formats/ffmpeg/prepareFfmpeg.h"
#include "readHereAndThere.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    prepareFfmpeg();
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    readWholeAndFailing("/file", bytes, [](const ebo::refptr<eboFile>& file) {
        auto reader = ebo::makeRef<ffmpegFileReader>(file);
        readHereAndThere(*reader);
        reader->selectAudioStream(1);
        return reader;
    });
    return 0;
}
