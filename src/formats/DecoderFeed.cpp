#include "formats/DecoderFeed.h"

#include "runtime/logCategories.h"

#include <algorithm>
#include <cstdio>
#include <utility>

DecoderFeed::DecoderFeed(eboFile& file, StopCheck stopCheck, std::int64_t mostBytesPerCall)
    : file_(file), stopCheck_(std::move(stopCheck)), mostBytesPerCall_(mostBytesPerCall),
      bytesLeft_(mostBytesPerCall)
{}

std::int64_t DecoderFeed::read(void* buffer, std::size_t size)
{
    if (bytesLeft_ <= 0)
        return -1;
    if (stopCheck_ && stopCheck_()) {
        hasFailed_ = true;  // by the user's own wish: nothing to log
        return -1;
    }
    const std::int64_t count = file_.read(buffer, static_cast<std::int64_t>(size));
    if (count < 0 || (count == 0 && size > 0 && !file_.atEnd()))
        fail();
    bytesLeft_ -= std::max(count, std::int64_t{0});
    return count;
}

bool DecoderFeed::seek(std::int64_t offset, int whence)
{
    switch (whence) {
    case SEEK_SET:
        return seek(offset);
    case SEEK_CUR:
        return seek(file_.pos() + offset);
    case SEEK_END:
        return seek(file_.size() - offset);
    default:
        return false;
    }
}

bool DecoderFeed::seek(std::int64_t position)
{
    if (file_.seek(position))
        return true;
    // Places that no file has are what broken headers ask for.
    if (position >= 0 && position <= file_.size())
        fail();
    return false;
}

/// Once, since a decoder may try again and again.
void DecoderFeed::fail()
{
    if (!std::exchange(hasFailed_, true))
        qCWarning(ebo::log::fileFormats) << "Failed to read" << file_.filePath() << "at byte" << file_.pos();
}
