#pragma once

#include "network/nfs/IPageFiller.h"
#include "network/nfs/Page.h"
#include "network/nfs/eboSparseBitArray.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <unordered_map>
#include <utility>
#include <vector>

namespace eboUtils {

/// Pages of all files of other devices that are in use here, up to a fixed number of them. When that is used
/// up, a page that nobody holds gives way, chosen at random: that costs nothing on a hit, and no pattern of
/// access is the worst one.
///
/// Any thread may call any operation. Knows nothing of files but their numbers; never calls a filler with its
/// lock held.
class PageCache {
public:
    /// About 50 MB.
    static constexpr unsigned int kMostPages = 12207;

    explicit PageCache(unsigned int mostPages = kMostPages);
    PageCache(const PageCache&) = delete;
    PageCache& operator=(const PageCache&) = delete;

    /// Appends the pages from `first` to `last`, both included, to `pages`; those that are missing are filled
    /// one by one. A page that another thread is filling is waited for.
    /// @return 1, or with the pages before it appended what the filler gave for one that it could not fill,
    /// or 0 if every page of the cache is held by somebody
    int getPages(IPageFiller& filler, std::uint64_t fileId, std::uint64_t first, std::uint64_t last,
                 std::vector<PageRef>& pages);

    /// Forgets pages of a file: they are fetched anew when they are asked for again. Who holds one keeps it.
    /// The ranges are in order and do not overlap. Costs one look at each page of the cache, or at each page
    /// number if these are fewer.
    void drop(std::uint64_t fileId, const std::vector<eboSparseBitArray::Range>& ranges);

    /// What has happened so far, and what is going on.
    struct Counters {
        unsigned int failures = 0;  ///< Every page was held by somebody.
        unsigned int misses = 0;
        unsigned int inFlight = 0;  ///< Threads that fill a page or wait for another one to do so.
        unsigned int hits = 0;
    };
    [[nodiscard]] Counters counters() const;

    /// Pages with content that can be found.
    [[nodiscard]] std::size_t size() const;

private:
    friend class PageRef;

    using Key = std::pair<std::uint64_t, std::uint64_t>;  // file, page
    struct CantorPairing {
        std::size_t operator()(const Key& key) const noexcept;
    };
    class Loading;

    int getPage(IPageFiller& filler, const Key& key, PageRef& result);
    void waitWhileLoading(std::unique_lock<std::mutex>& lock, const Key& key);
    Page* takeEmptyPage();
    Page* evict();
    void enter(const Key& key, Page& page);
    void removeFromTable(Page& page);
    void forget(const Key& key);
    void recycle(Page& page);

    const unsigned int maxPages_;
    mutable std::mutex mutex_;
    // All of what follows is guarded by mutex_.
    std::deque<Page> pageStorage_;  // never shrinks
    std::unordered_map<Key, Page*, CantorPairing> table_;
    std::vector<Page*> inTable_;  // what table_ holds, so that a random one is found in one step
    std::deque<Page*> freePages_;
    std::map<Key, Page*> loading_;
    std::condition_variable loaded_;
    std::mt19937 random_{0};
    std::uniform_real_distribution<double> uniform_{0.0, 1.0};
    Counters counters_;
};

inline PageRef::~PageRef()
{
    if (page_ != nullptr && page_->references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        page_->cache.recycle(*page_);
}

}  // namespace eboUtils
