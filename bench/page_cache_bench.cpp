// What a page of a remote file costs on this side of the network: one that is there, one that has room, one
// that another page has to go for, and ranges that become invalid.

#include "network/nfs/PageCache.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

using eboUtils::IPageFiller;
using eboUtils::Page;
using eboUtils::PageCache;
using eboUtils::PageRef;

/// Has the content at once.
class Filler : public IPageFiller {
public:
    void fillPage(Page* page, int* result) override
    {
        std::memcpy(page->data.data(), content_.data(), content_.size());
        page->isFilled = true;
        *result = 1;
    }

private:
    std::array<char, eboUtils::kPageBytes> content_{};
};

void read(PageCache& cache, Filler& filler, std::uint64_t number, std::vector<PageRef>& pages)
{
    pages.clear();
    benchmark::DoNotOptimize(cache.getPages(filler, 1, number, number, pages));
}

void pageHit(benchmark::State& state)
{
    PageCache cache;
    Filler filler;
    std::vector<PageRef> pages;
    const auto count = static_cast<std::uint64_t>(state.range(0));
    for (std::uint64_t number = 0; number < count; ++number)
        read(cache, filler, number, pages);
    std::uint64_t next = 0;
    for (auto _ : state)
        read(cache, filler, next++ * 7919 % count, pages);
}
BENCHMARK(pageHit)->Arg(16)->Arg(PageCache::kMostPages);

void pageMiss(benchmark::State& state)
{
    PageCache cache;
    Filler filler;
    std::vector<PageRef> pages;
    std::uint64_t next = 0;
    for (auto _ : state) {
        if (next == PageCache::kMostPages) {
            state.PauseTiming();
            pages.clear();
            cache.drop(1, {{0, next}});
            next = 0;
            state.ResumeTiming();
        }
        read(cache, filler, next++, pages);
    }
}
BENCHMARK(pageMiss);

void pageEviction(benchmark::State& state)
{
    PageCache cache;
    Filler filler;
    std::vector<PageRef> pages;
    std::uint64_t next = 0;
    while (next < PageCache::kMostPages)
        read(cache, filler, next++, pages);
    for (auto _ : state)
        read(cache, filler, next++, pages);
}
BENCHMARK(pageEviction);

void dropOfAnEndlessRange(benchmark::State& state)
{
    PageCache cache;
    Filler filler;
    std::vector<PageRef> pages;
    for (std::uint64_t number = 0; number < PageCache::kMostPages; ++number)
        read(cache, filler, number, pages);
    for (auto _ : state)
        cache.drop(2, {{0, ~std::uint64_t{0}}});
}
BENCHMARK(dropOfAnEndlessRange)->Unit(benchmark::kMicrosecond);

}  // namespace
