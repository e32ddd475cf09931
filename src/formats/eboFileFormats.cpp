#include "formats/eboFileFormats.h"

#include "formats/eboAudioFormatReader.h"
#include "formats/ffmpeg/ffmpegFormat.h"
#include "formats/flac/flacFormat.h"
#include "formats/ogg/oggFormat.h"
#include "runtime/logCategories.h"

#include <exception>
#include <utility>

eboFileFormats::eboFileFormats(ebo::refptr<eboFileFactory> factory)
    : eboFileFormats(std::move(factory), {oggFormat(), flacFormat(), ffmpegFormat()})
{}

eboFileFormats::eboFileFormats(ebo::refptr<eboFileFactory> factory, std::vector<FormatEntry> entries)
    : factory_(factory ? std::move(factory) : ebo::makeRef<eboFileFactory>()), entries_(std::move(entries))
{}

ebo::refptr<eboFormatReader> eboFileFormats::createReader(const QString& path, const DecodingOptions& options)
{
    for (const FormatEntry& entry : entries_) {
        if (!entry.canRead(path))
            continue;
        try {
            return ebo::dynamicCast<eboAudioFormatReader>(entry.createReader(path, factory_, options));
        } catch (const eboFormatReader::FileUnsupported& refusal) {
            qCDebug(ebo::log::fileFormats)
                << "Failed to create reader for file" << path << ":" << refusal.what();
        } catch (const std::exception& error) {
            qCDebug(ebo::log::fileFormats) << "Couldn't open" << path << ". Error:" << error.what();
            return nullptr;
        }
    }
    qCWarning(ebo::log::fileFormats) << "Failed to find a suitable reader for" << path;
    return nullptr;
}
