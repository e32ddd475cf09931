#include "formats/ogg/isSoundVorbisFile.h"

#include "formats/ogg/vorbisCodebooks.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <vector>

#include <ogg/ogg.h>

namespace {

constexpr long kReadBytes = 4096;
constexpr int kSetupPacket = 2;  // behind the identification and the comments
constexpr std::string_view kIdentificationMagic("\1vorbis");

/// The pages of the file, one after the other.
class Pages {
public:
    explicit Pages(DecoderFeed& feed) : feed_(feed) { ogg_sync_init(&sync_); }
    ~Pages() { ogg_sync_clear(&sync_); }
    Pages(const Pages&) = delete;
    Pages& operator=(const Pages&) = delete;

    /// Null at the end of the file or on a failure. Good until the next call.
    ogg_page* next()
    {
        for (;;) {
            const int found = ogg_sync_pageout(&sync_, &page_);
            if (found > 0)
                return &page_;
            if (found == 0 && !readMore())
                return nullptr;
        }
    }

private:
    bool readMore()
    {
        char* const buffer = ogg_sync_buffer(&sync_, kReadBytes);
        const std::int64_t count = buffer != nullptr ? feed_.read(buffer, kReadBytes) : -1;
        if (count <= 0)
            return false;
        return ogg_sync_wrote(&sync_, static_cast<long>(count)) == 0;
    }

    DecoderFeed& feed_;
    ogg_sync_state sync_{};
    ogg_page page_{};
};

/// The packets of the first Vorbis stream.
class Packets {
public:
    Packets() { ogg_stream_init(&stream_, 0); }
    ~Packets() { ogg_stream_clear(&stream_); }
    Packets(const Packets&) = delete;
    Packets& operator=(const Packets&) = delete;

    void add(ogg_page* page)
    {
        if (!hasStream_ && ogg_page_bos(page) != 0) {
            const std::string_view body(reinterpret_cast<const char*>(page->body),
                                        static_cast<std::size_t>(page->body_len));
            hasStream_ = body.starts_with(kIdentificationMagic);
            ogg_stream_reset_serialno(&stream_, ogg_page_serialno(page));
        }
        if (hasStream_)
            ogg_stream_pagein(&stream_, page);  // refuses the pages of other streams
    }

    /// Null when another page is needed.
    ogg_packet* next()
    {
        return hasStream_ && ogg_stream_packetout(&stream_, &packet_) == 1 ? &packet_ : nullptr;
    }

private:
    bool hasStream_ = false;
    ogg_stream_state stream_{};
    ogg_packet packet_{};
};

/// What a file's beginning tells.
struct Head {
    bool hasSoundSetup = false;
    std::vector<int> streams;  // serial numbers of all streams that begin there
};

Head readHead(DecoderFeed& feed)
{
    Head head;
    Pages pages(feed);
    Packets packets;
    int index = 0;
    while (ogg_page* const page = pages.next()) {
        if (ogg_page_bos(page) != 0)
            head.streams.push_back(ogg_page_serialno(page));
        packets.add(page);
        for (const ogg_packet* packet = packets.next(); packet != nullptr; packet = packets.next(), ++index) {
            if (index == kSetupPacket) {
                head.hasSoundSetup = areVorbisCodebooksSound(*packet);
                return head;
            }
        }
    }
    return head;
}

/// The serial number of the last page of all.
std::optional<int> lastStream(DecoderFeed& feed)
{
    constexpr std::int64_t kFirstSearchBytes = std::int64_t{1} << 17U;  // two pages of the largest size
    constexpr std::int64_t kSearchGrowth = 4;
    const std::int64_t size = feed.size();
    for (std::int64_t bytes = kFirstSearchBytes;; bytes *= kSearchGrowth) {
        if (!feed.seek(size - std::min(bytes, size)))
            return std::nullopt;
        Pages pages(feed);
        std::optional<int> last;
        while (const ogg_page* const page = pages.next())
            last = ogg_page_serialno(page);
        if (last || bytes >= size)
            return last;
    }
}

}  // namespace

bool isSoundVorbisFile(DecoderFeed& feed)
{
    feed.renew();
    if (!feed.seek(0))
        return false;
    const Head head = readHead(feed);
    if (!head.hasSoundSetup)
        return false;
    feed.renew();
    const std::optional<int> last = lastStream(feed);
    return last && std::find(head.streams.begin(), head.streams.end(), *last) != head.streams.end();
}
