// Any bytes as the contents of a FLAC file, native and inside Ogg: opening, reading and seeking end cleanly.
// The checksums of Ogg's pages are put right first, so that what changes gets past them.

#include "formats/flac/flacFileReader.h"
#include "formats/ogg/oggPages.h"
#include "readHereAndThere.h"
#include "support/MemoryFile.h"

#include <QtGlobal>

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qInstallMessageHandler(
        [](QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& /*text*/) {});
    std::string bytes(reinterpret_cast<const char*>(data), size);
    const bool isInOgg = bytes.starts_with("OggS");
    if (isInOgg)
        testsupport::sealOggPages(bytes);
    try {
        const auto reader = ebo::makeRef<flacFileReader>(
            ebo::makeRef<testsupport::MemoryFile>(isInOgg ? "/file.oga" : "/file.flac", bytes));
        readHereAndThere(*reader);
    } catch (const eboFormatReader::FileUnsupported&) {
        return 0;
    }
    return 0;
}
