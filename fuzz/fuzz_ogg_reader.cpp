// Any bytes as the contents of an Ogg Vorbis file: opening, reading and seeking end cleanly. The pages'
// checksums are put right first, so that what changes gets past them.

#include "formats/ogg/oggFileReader.h"
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
    testsupport::sealOggPages(bytes);
    try {
        const auto reader =
            ebo::makeRef<oggFileReader>(ebo::makeRef<testsupport::MemoryFile>("/file.ogg", bytes));
        readHereAndThere(*reader);
    } catch (const eboFormatReader::FileUnsupported&) {
        return 0;
    }
    return 0;
}
