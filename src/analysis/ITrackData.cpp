#include "analysis/ITrackData.h"

#include <exception>
#include <stdexcept>
#include <utility>

namespace {

constexpr double kRateWithoutReader = 44100.0;

/// A clone opens the file anew, which may have gone or changed since.
ebo::refptr<eboFormatReader> cloneOf(eboAudioFormatReader& reader)
{
    try {
        return reader.clone();
    } catch (const std::exception&) {
        return nullptr;
    }
}

}  // namespace

ITrackData::ITrackData(QString path, ebo::refptr<eboFileFormats> formats)
    : path_(std::move(path)), formats_(std::move(formats))
{}

ITrackData::~ITrackData() = default;

QString ITrackData::path() const { return path_; }

double ITrackData::sampleRate()
{
    const std::lock_guard guard(readerMutex_);
    const auto reader = cachedReader();
    return reader ? static_cast<double>(reader->sampleRate()) : kRateWithoutReader;
}

std::int64_t ITrackData::length()
{
    const std::lock_guard guard(readerMutex_);
    const auto reader = cachedReader();
    return reader ? std::int64_t{reader->length()} : 0;
}

ebo::refptr<eboFormatReader> ITrackData::createReader(bool allowCreation, const StopCheck& stopCheck)
{
    const std::lock_guard guard(readerMutex_);
    if (reader_)
        return cloneOf(*reader_);
    if (!allowCreation)
        throw std::runtime_error("Reader creation not allowed here.");
    return cachedReader(stopCheck);
}

void ITrackData::closeReader()
{
    const std::lock_guard guard(readerMutex_);
    if (const auto reader = std::exchange(reader_, nullptr))
        reader->close();
}

ebo::refptr<eboAudioFormatReader> ITrackData::cachedReader(const StopCheck& stopCheck)
{
    if (!reader_ && formats_)
        reader_ =
            ebo::dynamicCast<eboAudioFormatReader>(formats_->createReader(path_, {.stopCheck = stopCheck}));
    return reader_;
}
