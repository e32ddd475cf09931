#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace eboUtils {

class PageCache;

/// Bytes in a page, the unit in which files of other devices are kept and fetched.
inline constexpr std::size_t kPageBytes = 4096;

/// The page that a position in a file, in bytes from its start, lies in.
[[nodiscard]] inline std::uint64_t pageAt(std::int64_t position)
{
    return static_cast<std::uint64_t>(position) / kPageBytes;
}

/// One page of a cache. Its content belongs to the file it is of: who reads or writes it does so under that
/// file's lock.
struct Page {
    explicit Page(PageCache& owner) : cache(owner) {}
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    /// Where it begins in its file, in bytes.
    [[nodiscard]] std::int64_t start() const
    {
        return static_cast<std::int64_t>(pageNumber) * static_cast<std::int64_t>(kPageBytes);
    }

    std::atomic<std::uint32_t> references{0};  ///< The cache's table counts as one.
    std::array<char, kPageBytes> data{};
    std::uint64_t fileId = 0;
    std::uint64_t pageNumber = 0;  ///< The first byte is number pageNumber * kPageBytes of the file.

    /// Whether the content is what the file holds. Set by the filler, under the same lock under which it
    /// tells the cache of content that has become invalid: a page that is complete, but not in the table yet,
    /// then never gets there.
    std::atomic<bool> isFilled{false};

    bool isDirty = false;  ///< Of the file, under its lock: waits to be sent to the other device.

    PageCache& cache;
    std::size_t place = 0;  ///< In the cache's list of what is in its table.
};

/// Holds a page: it is not reused for as long as this lives, also when the cache drops it from its table.
/// Must not outlive the cache.
class PageRef {
public:
    PageRef() = default;
    explicit PageRef(Page& page) : page_(&page) { page.references.fetch_add(1, std::memory_order_relaxed); }
    PageRef(const PageRef& other) : page_(other.page_)
    {
        if (page_ != nullptr)
            page_->references.fetch_add(1, std::memory_order_relaxed);
    }
    PageRef(PageRef&& other) noexcept : page_(std::exchange(other.page_, nullptr)) {}
    PageRef& operator=(PageRef other) noexcept
    {
        std::swap(page_, other.page_);
        return *this;
    }
    ~PageRef();

    [[nodiscard]] Page* get() const { return page_; }
    Page* operator->() const { return page_; }
    Page& operator*() const { return *page_; }

private:
    Page* page_ = nullptr;
};

}  // namespace eboUtils
