// Any bytes as the contents of an Ogg Vorbis file: opening, reading, seeking and cloning end cleanly, also
// where the file fails. The pages' checksums are put right first, so that what changes gets past them.

#include "formats/ogg/oggFileReader.h"
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
    testsupport::sealOggPages(bytes);
    readWholeAndFailing("/file.ogg", bytes,
                        [](const ebo::refptr<eboFile>& file) { return ebo::makeRef<oggFileReader>(file); });
    return 0;
}
