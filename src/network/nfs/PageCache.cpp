#include "network/nfs/PageCache.h"

#include <algorithm>
#include <chrono>

namespace eboUtils {

namespace {

constexpr std::chrono::seconds kLookAgain{1};  // whether a page is still being filled

using Ranges = std::vector<eboSparseBitArray::Range>;

/// How many numbers there are, as far as it matters whether they are more than `enough`.
std::uint64_t countUpTo(const Ranges& ranges, std::uint64_t enough)
{
    std::uint64_t count = 0;
    for (const auto& range : ranges) {
        const std::uint64_t beyondFirst = range.last - range.first;
        if (beyondFirst >= enough - count)
            return enough;
        count += beyondFirst + 1;
    }
    return count;
}

bool covers(const Ranges& ranges, std::uint64_t number)
{
    const auto after =
        std::upper_bound(ranges.begin(), ranges.end(), number,
                         [](std::uint64_t value, const auto& range) { return value < range.first; });
    return after != ranges.begin() && std::prev(after)->last >= number;
}

}  // namespace

/// A page on its way into the table: others wait for it until this ends, whatever way that happens. Made and
/// ended with the cache locked.
class PageCache::Loading {
public:
    Loading(PageCache& cache, const Key& key, Page& page) : cache_(cache), key_(key)
    {
        cache_.loading_.emplace(key, &page);
        ++cache_.counters_.inFlight;
    }
    ~Loading()
    {
        --cache_.counters_.inFlight;
        cache_.loading_.erase(key_);
        cache_.loaded_.notify_all();
    }
    Loading(const Loading&) = delete;
    Loading& operator=(const Loading&) = delete;

    /// Whether the content became invalid after it was complete.
    [[nodiscard]] bool isOutdated() const { return cache_.loading_.at(key_) == nullptr; }

private:
    PageCache& cache_;
    const Key key_;
};

std::size_t PageCache::CantorPairing::operator()(const Key& key) const noexcept
{
    const auto& [file, page] = key;
    const std::uint64_t sum = file + page;
    return static_cast<std::uint32_t>(page + sum * (sum + 1) / 2);
}

PageCache::PageCache(unsigned int mostPages) : maxPages_(mostPages) {}

int PageCache::getPages(IPageFiller& filler, std::uint64_t fileId, std::uint64_t first, std::uint64_t last,
                        std::vector<PageRef>& pages)
{
    for (std::uint64_t number = first; number <= last; ++number) {
        PageRef page;
        const int result = getPage(filler, {fileId, number}, page);
        if (result != 1)
            return result;
        pages.push_back(std::move(page));
    }
    return 1;
}

int PageCache::getPage(IPageFiller& filler, const Key& key, PageRef& result)
{
    PageRef page;  // let go of after the lock
    std::unique_lock lock(mutex_);
    waitWhileLoading(lock, key);
    if (const auto entry = table_.find(key); entry != table_.end()) {
        ++counters_.hits;
        result = PageRef(*entry->second);
        return 1;
    }
    ++counters_.misses;
    Page* const empty = takeEmptyPage();
    if (empty == nullptr) {
        ++counters_.failures;
        return 0;
    }
    page = PageRef(*empty);
    page->fileId = key.first;
    page->pageNumber = key.second;
    page->isFilled = false;
    page->isDirty = false;
    const Loading loading(*this, key, *page);
    lock.unlock();
    int filled = -1;
    try {
        page->data.fill('\0');
        filler.fillPage(page.get(), &filled);
    } catch (...) {
        lock.lock();
        throw;
    }
    lock.lock();
    if (filled != 1)
        return filled;  // what nobody has filled is not taken for content by the next reader
    if (!loading.isOutdated())
        enter(key, *page);
    result = page;
    return 1;
}

void PageCache::waitWhileLoading(std::unique_lock<std::mutex>& lock, const Key& key)
{
    while (loading_.count(key) != 0) {
        ++counters_.inFlight;
        loaded_.wait_for(lock, kLookAgain);
        --counters_.inFlight;
    }
}

Page* PageCache::takeEmptyPage()
{
    if (!freePages_.empty()) {
        Page* const page = freePages_.front();
        freePages_.pop_front();
        return page;
    }
    if (pageStorage_.size() < maxPages_)
        return &pageStorage_.emplace_back(*this);
    return evict();
}

Page* PageCache::evict()
{
    if (inTable_.empty())
        return nullptr;
    const auto isHeld = [](const Page* page) { return page->references.load(std::memory_order_acquire) > 1; };
    const auto pick = static_cast<std::size_t>(uniform_(random_) * static_cast<double>(inTable_.size()));
    const auto start = inTable_.begin() + static_cast<std::ptrdiff_t>(std::min(pick, inTable_.size() - 1));
    auto found = std::find_if_not(start, inTable_.end(), isHeld);
    if (found == inTable_.end()) {
        found = std::find_if_not(inTable_.begin(), start, isHeld);
        if (found == start)
            return nullptr;
    }
    Page* const page = *found;
    removeFromTable(*page);
    page->references.store(0, std::memory_order_relaxed);  // only the table held it, and gives it out no more
    return page;
}

void PageCache::enter(const Key& key, Page& page)
{
    if (!table_.emplace(key, &page).second)
        return;
    page.place = inTable_.size();
    inTable_.push_back(&page);
    page.references.fetch_add(1, std::memory_order_relaxed);
}

void PageCache::removeFromTable(Page& page)
{
    table_.erase({page.fileId, page.pageNumber});
    Page* const last = inTable_.back();
    inTable_.pop_back();
    if (last != &page) {
        inTable_[page.place] = last;
        last->place = page.place;
    }
}

void PageCache::forget(const Key& key)
{
    const auto entry = table_.find(key);
    if (entry == table_.end())
        return;
    Page& page = *entry->second;
    removeFromTable(page);
    if (page.references.fetch_sub(1, std::memory_order_acq_rel) == 1)
        freePages_.push_back(&page);
}

void PageCache::drop(std::uint64_t fileId, const Ranges& ranges)
{
    const std::lock_guard guard(mutex_);
    if (countUpTo(ranges, table_.size() + 1) <= table_.size()) {
        for (const auto& range : ranges) {
            for (std::uint64_t i = 0; i <= range.last - range.first; ++i)
                forget({fileId, range.first + i});
        }
    } else {
        // From the end: what fills the place of a page that goes has been looked at.
        for (std::size_t place = inTable_.size(); place-- > 0;) {
            const Page& page = *inTable_[place];
            if (page.fileId == fileId && covers(ranges, page.pageNumber))
                forget({fileId, page.pageNumber});
        }
    }
    // One that is complete, but not in the table yet. Who still waits for content gets the new one.
    for (auto entry = loading_.lower_bound({fileId, 0});
         entry != loading_.end() && entry->first.first == fileId; ++entry) {
        if (entry->second != nullptr && entry->second->isFilled && covers(ranges, entry->first.second))
            entry->second = nullptr;
    }
}

void PageCache::recycle(Page& page)
{
    const std::lock_guard guard(mutex_);
    freePages_.push_back(&page);
}

PageCache::Counters PageCache::counters() const
{
    const std::lock_guard guard(mutex_);
    return counters_;
}

std::size_t PageCache::size() const
{
    const std::lock_guard guard(mutex_);
    return table_.size();
}

}  // namespace eboUtils
