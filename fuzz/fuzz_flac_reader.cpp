// Any bytes as the contents of a FLAC file, native and inside Ogg: opening, reading, seeking and cloning
// end cleanly, also where the file fails.
// The checksums of Ogg's pages are put right first, so that what changes gets past them.

#include "formats/flac/flacFileReader.h"
#include "formats/ogg/oggPages.h"
#include "readHereAndThere.h"

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
    readWholeAndFailing(isInOgg ? "/file.oga" : "/file.flac", bytes,
                        [](const ebo::refptr<eboFile>& file) { return ebo::makeRef<flacFileReader>(file); });
    return 0;
}
