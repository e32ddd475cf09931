#include "network/nfs/PageCache.h"

#include "support/eventually.h"
#include "support/repetitions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace {

using eboUtils::IPageFiller;
using eboUtils::Page;
using eboUtils::PageCache;
using eboUtils::PageRef;
using Pages = std::vector<PageRef>;

constexpr std::uint64_t kEverything = std::numeric_limits<std::uint64_t>::max();

std::uint64_t contentOf(const Page& page)
{
    std::uint64_t number = 0;
    std::memcpy(&number, page.data.data(), sizeof number);
    return number;
}

/// Writes a number into a page's first bytes: file * 1000 + page + version.
class Filler : public IPageFiller {
public:
    void fillPage(Page* page, int* result) override
    {
        ++calls;
        lastByteFound = page->data.back();
        if (beforeFilling)
            beforeFilling(*page);
        const std::uint64_t number = page->fileId * 1000 + page->pageNumber + version;
        std::memcpy(page->data.data(), &number, sizeof number);
        page->data.back() = 'x';
        page->isFilled = true;
        if (afterFilling)
            afterFilling(*page);
        *result = answer;
    }

    std::atomic<int> calls{0};
    std::atomic<std::uint64_t> version{0};
    std::atomic<char> lastByteFound{0};
    int answer = 1;
    std::function<void(Page&)> beforeFilling;
    std::function<void(Page&)> afterFilling;
};

class PageCacheTest : public testing::Test {
protected:
    std::vector<std::uint64_t> read(PageCache& cache, std::uint64_t file, std::uint64_t first,
                                    std::uint64_t last)
    {
        Pages pages;
        EXPECT_EQ(cache.getPages(filler_, file, first, last, pages), 1);
        std::vector<std::uint64_t> result;
        for (const PageRef& page : pages)
            result.push_back(contentOf(*page));
        return result;
    }

    Filler filler_;
};

TEST_F(PageCacheTest, FillsEachPageOnce)
{
    PageCache cache;
    EXPECT_EQ(read(cache, 7, 1, 3), (std::vector<std::uint64_t>{7001, 7002, 7003}));
    EXPECT_EQ(filler_.calls, 3);
    EXPECT_EQ(read(cache, 7, 2, 4), (std::vector<std::uint64_t>{7002, 7003, 7004}));
    EXPECT_EQ(filler_.calls, 4);
    const auto counters = cache.counters();
    EXPECT_EQ(counters.misses, 4U);
    EXPECT_EQ(counters.hits, 2U);
    EXPECT_EQ(counters.failures, 0U);
    EXPECT_EQ(counters.inFlight, 0U);
    EXPECT_EQ(cache.size(), 4U);
}

TEST_F(PageCacheTest, FilesDoNotShareTheirPages)
{
    PageCache cache;
    EXPECT_EQ(read(cache, 1, 2, 2), std::vector<std::uint64_t>{1002});
    EXPECT_EQ(read(cache, 2, 1, 1), std::vector<std::uint64_t>{2001});
    EXPECT_EQ(filler_.calls, 2);
}

TEST_F(PageCacheTest, AnEmptyRangeOfPagesIsThereAtOnce)
{
    PageCache cache;
    EXPECT_TRUE(read(cache, 1, 2, 1).empty());
    EXPECT_EQ(filler_.calls, 0);
}

TEST_F(PageCacheTest, WhatTheFillerCannotFillIsPassedOnAndNotKept)
{
    PageCache cache;
    Pages pages;
    filler_.afterFilling = [this](Page& page) { filler_.answer = page.pageNumber == 2 ? -1 : 1; };
    EXPECT_EQ(cache.getPages(filler_, 1, 1, 3, pages), -1);
    EXPECT_EQ(pages.size(), 1U) << "the page before it";
    EXPECT_EQ(cache.size(), 1U);
    filler_.afterFilling = nullptr;
    filler_.answer = 0;
    EXPECT_EQ(cache.getPages(filler_, 1, 2, 3, pages), 0);
    filler_.answer = 1;
    EXPECT_EQ(read(cache, 1, 2, 2), std::vector<std::uint64_t>{1002});
}

TEST_F(PageCacheTest, AFillerThatThrowsLeavesNobodyWaiting)
{
    PageCache cache;
    Pages pages;
    filler_.beforeFilling = [](Page&) { throw std::runtime_error("no"); };
    EXPECT_THROW(cache.getPages(filler_, 1, 1, 1, pages), std::runtime_error);
    filler_.beforeFilling = nullptr;
    EXPECT_EQ(read(cache, 1, 1, 1), std::vector<std::uint64_t>{1001});
    EXPECT_EQ(cache.counters().inFlight, 0U);
}

TEST_F(PageCacheTest, NeverHoldsMoreThanItMay)
{
    PageCache cache(10);
    for (std::uint64_t number = 0; number < 100; ++number)
        EXPECT_EQ(read(cache, 1, number, number), std::vector<std::uint64_t>{1000 + number});
    EXPECT_EQ(cache.size(), 10U);
    EXPECT_EQ(cache.counters().failures, 0U);
}

TEST_F(PageCacheTest, EveryPageCanBeTheOneThatGoes)
{
    constexpr std::uint64_t kPages = 8;
    std::set<std::uint64_t> gone;
    PageCache cache(kPages);
    read(cache, 1, 0, kPages - 1);
    for (int round = 0; round < 200 && gone.size() < kPages; ++round) {
        read(cache, 2, 0, 0);
        for (std::uint64_t number = 0; number < kPages; ++number) {
            const int before = filler_.calls;
            read(cache, 1, number, number);
            if (filler_.calls != before)
                gone.insert(number);
        }
    }
    EXPECT_EQ(gone.size(), kPages) << "each with one chance in eight for every page that comes";
}

TEST_F(PageCacheTest, APageGivenToAnotherFileShowsNothingOfTheFirst)
{
    PageCache cache(1);
    read(cache, 1, 0, 0);
    read(cache, 2, 0, 0);
    EXPECT_EQ(filler_.calls, 2);
    EXPECT_EQ(filler_.lastByteFound, '\0') << "as the filler found it";
}

TEST_F(PageCacheTest, PagesThatSomebodyHoldsStay)
{
    PageCache cache(3);
    Pages held;
    ASSERT_EQ(cache.getPages(filler_, 1, 0, 1, held), 1);
    for (std::uint64_t number = 10; number < 60; ++number)
        read(cache, 1, number, number);
    EXPECT_EQ(contentOf(*held[0]), 1000U);
    EXPECT_EQ(contentOf(*held[1]), 1001U);
    const int before = filler_.calls;
    read(cache, 1, 0, 1);
    EXPECT_EQ(filler_.calls, before);
}

TEST_F(PageCacheTest, WithEveryPageHeldANewOneIsNotToBeHad)
{
    PageCache cache(2);
    Pages held;
    ASSERT_EQ(cache.getPages(filler_, 1, 0, 1, held), 1);
    Pages more;
    EXPECT_EQ(cache.getPages(filler_, 1, 1, 2, more), 0);
    EXPECT_EQ(more.size(), 1U);
    EXPECT_EQ(cache.counters().failures, 1U);
    EXPECT_EQ(filler_.calls, 2);
    more.clear();
    held.clear();
    EXPECT_EQ(read(cache, 1, 2, 2), std::vector<std::uint64_t>{1002});
}

TEST_F(PageCacheTest, AllPagesOfTheFullSizeCanBeHeldAtOnceAndNoMore)
{
    PageCache cache;
    Pages held;
    ASSERT_EQ(cache.getPages(filler_, 1, 0, 12206, held), 1);
    EXPECT_EQ(held.size(), 12207U);
    EXPECT_EQ(cache.getPages(filler_, 1, 12207, 12207, held), 0);
}

TEST_F(PageCacheTest, WhatIsDroppedIsFetchedAnew)
{
    PageCache cache;
    read(cache, 1, 0, 9);
    read(cache, 2, 0, 9);
    filler_.version = 100;
    cache.drop(1, {{2, 3}, {8, 20}});
    EXPECT_EQ(cache.size(), 16U);
    EXPECT_EQ(read(cache, 1, 0, 9),
              (std::vector<std::uint64_t>{1000, 1001, 1102, 1103, 1004, 1005, 1006, 1007, 1108, 1109}));
    EXPECT_EQ(read(cache, 2, 2, 3), (std::vector<std::uint64_t>{2002, 2003}));
}

TEST_F(PageCacheTest, DroppingAWorldOfPagesCostsOnlyWhatIsThere)
{
    PageCache cache;
    read(cache, 1, 0, 9);
    read(cache, 2, 0, 9);
    std::vector<eboSparseBitArray::Range> ranges;
    for (std::uint64_t i = 0; i < 4000; ++i)
        ranges.push_back({i * 1000000000, i * 1000000000 + 999999998});
    ranges.push_back({1ULL << 62, kEverything});
    for (int i = 0; i < 1000; ++i)
        cache.drop(1, ranges);
    EXPECT_EQ(cache.size(), 10U);
    cache.drop(2, {{0, kEverything}});
    EXPECT_EQ(cache.size(), 0U);
    cache.drop(2, {{0, kEverything}});
}

TEST_F(PageCacheTest, WhoHoldsADroppedPageKeepsItsContent)
{
    PageCache cache(2);
    Pages held;
    ASSERT_EQ(cache.getPages(filler_, 1, 0, 0, held), 1);
    cache.drop(1, {{0, 0}});
    EXPECT_EQ(cache.size(), 0U);
    filler_.version = 500;
    EXPECT_EQ(read(cache, 1, 0, 0), std::vector<std::uint64_t>{1500});
    for (std::uint64_t number = 1; number < 20; ++number)
        read(cache, 1, number, number);
    EXPECT_EQ(contentOf(*held[0]), 1000U);

    // Two pages are all there are: one is held, the other was used for all the rest.
    Pages other;
    ASSERT_EQ(cache.getPages(filler_, 1, 30, 30, other), 1);
    Pages third;
    EXPECT_EQ(cache.getPages(filler_, 1, 31, 31, third), 0);
    held.clear();
    EXPECT_EQ(cache.getPages(filler_, 1, 31, 31, third), 1)
        << "the dropped page is free with its last holder";
}

TEST_F(PageCacheTest, APageThatBecomesInvalidBetweenItsFillingAndItsEntryIsNotKept)
{
    PageCache cache;
    filler_.afterFilling = [&](Page& page) { cache.drop(1, {{page.pageNumber, page.pageNumber}}); };
    EXPECT_EQ(read(cache, 1, 5, 5), std::vector<std::uint64_t>{1005}) << "who asked gets what there was";
    EXPECT_EQ(cache.size(), 0U);
    filler_.afterFilling = nullptr;
    filler_.version = 100;
    EXPECT_EQ(read(cache, 1, 5, 5), std::vector<std::uint64_t>{1105});
}

TEST_F(PageCacheTest, APageThatBecomesInvalidBeforeItIsFilledIsKept)
{
    PageCache cache;
    filler_.beforeFilling = [&](Page& page) { cache.drop(1, {{page.pageNumber, page.pageNumber}}); };
    read(cache, 1, 5, 5);
    read(cache, 1, 5, 5);
    EXPECT_EQ(filler_.calls, 1);
}

TEST_F(PageCacheTest, ManyWhoWantOnePageCauseOneFilling)
{
    constexpr int kThreads = 4;
    PageCache cache;
    filler_.beforeFilling = [&](Page&) {
        // All others wait for this page by now.
        EXPECT_TRUE(testsupport::eventually([&] { return cache.counters().inFlight == kThreads; }));
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            Pages pages;
            EXPECT_EQ(cache.getPages(filler_, 1, 5, 5, pages), 1);
            EXPECT_EQ(contentOf(*pages.at(0)), 1005U);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(filler_.calls, 1);
    EXPECT_EQ(cache.counters().hits, 3U);
}

TEST_F(PageCacheTest, WhoWaitsForAPageThatFailsTriesByItself)
{
    PageCache cache;
    std::atomic<int> failures{0};
    filler_.answer = -1;
    filler_.beforeFilling = [&](Page&) {
        if (filler_.calls == 1) {
            EXPECT_TRUE(testsupport::eventually([&] { return cache.counters().inFlight == 2; }));
        }
    };
    const auto ask = [&] {
        Pages pages;
        if (cache.getPages(filler_, 1, 5, 5, pages) == -1)
            ++failures;
    };
    std::thread first(ask);
    std::thread second(ask);
    first.join();
    second.join();
    EXPECT_EQ(failures, 2);
    EXPECT_EQ(filler_.calls, 2);
}

TEST(PageCacheTorture, ReadersInvalidationsAndEvictionsNeverShowForeignBytes)
{
    constexpr int kReaders = 3;
    constexpr std::uint64_t kFiles = 3;
    constexpr std::uint64_t kPages = 30;
    const int rounds = testsupport::repetitions(8000);
    PageCache cache(20);  // fewer than there are, so pages change hands all the time
    std::array<Filler, kFiles> fillers;
    std::atomic<bool> foreign{false};
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (unsigned int i = 0; i < kReaders; ++i) {
        readers.emplace_back([&, i] {
            std::mt19937 random(i);
            for (int round = 0; round < rounds; ++round) {
                const std::uint64_t file = random() % kFiles;
                const std::uint64_t first = random() % kPages;
                Pages pages;
                cache.getPages(fillers[file], file, first, first + random() % 4, pages);
                for (std::size_t k = 0; k < pages.size(); ++k) {
                    if (contentOf(*pages[k]) != file * 1000 + first + k)
                        foreign = true;
                }
            }
        });
    }
    std::thread dropper([&] {
        std::mt19937 random(99);
        while (!done) {
            const std::uint64_t first = random() % kPages;
            cache.drop(random() % kFiles, {{first, first + random() % 5}});
            std::this_thread::yield();
        }
    });
    for (std::thread& reader : readers)
        reader.join();
    done = true;
    dropper.join();
    EXPECT_FALSE(foreign);

    // All pages have come back: the whole cache can be held.
    for (std::uint64_t file = 0; file < kFiles; ++file)
        cache.drop(file, {{0, kEverything}});
    Pages all;
    EXPECT_EQ(cache.getPages(fillers[0], 7, 0, 19, all), 1);
}

}  // namespace
