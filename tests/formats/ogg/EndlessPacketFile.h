#pragma once

#include "formats/ogg/oggPages.h"
#include "support/MemoryFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace testsupport {

/// An Ogg file of a terabyte: the pages given and then one packet that never ends. Counts what is read of it.
class EndlessPacketFile : public MemoryFile {
public:
    EndlessPacketFile(std::string path, std::string firstPages, std::uint32_t serial, std::uint32_t sequence)
        : MemoryFile(std::move(path), ""), firstPages_(std::move(firstPages)), serial_(serial),
          sequence_(sequence)
    {}

    std::int64_t read(void* buffer, std::int64_t size) override
    {
        std::int64_t done = 0;
        while (done < size) {
            const std::string& page = pageAt(pos());
            const std::int64_t within = pos() - pageStart_;
            const std::int64_t count = std::min(size - done, static_cast<std::int64_t>(page.size()) - within);
            std::memcpy(static_cast<char*>(buffer) + done, page.data() + within,
                        static_cast<std::size_t>(count));
            done += count;
            seek(pos() + count);
        }
        bytesRead += done;
        return done;
    }
    [[nodiscard]] std::int64_t size() const override { return std::int64_t{1} << 40U; }

    std::int64_t bytesRead = 0;

private:
    const std::string& pageAt(std::int64_t position)
    {
        const auto start = static_cast<std::int64_t>(firstPages_.size());
        if (position < start) {
            pageStart_ = 0;
            return firstPages_;
        }
        static const auto pageSize = static_cast<std::int64_t>(endlessOggPage(0, 0).size());
        const std::int64_t index = (position - start) / pageSize;
        const std::int64_t wanted = start + index * pageSize;
        if (pageStart_ != wanted || page_.empty())
            page_ = endlessOggPage(serial_, sequence_ + static_cast<std::uint32_t>(index));
        pageStart_ = wanted;
        return page_;
    }

    const std::string firstPages_;
    const std::uint32_t serial_;
    const std::uint32_t sequence_;  ///< Of the first endless page.
    std::int64_t pageStart_ = 0;
    std::string page_;
};

}  // namespace testsupport
