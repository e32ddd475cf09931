// A program of its own: it counts what the whole program allocates.

#include "key/CKeyDetect_If.h"
#include "synth/Cadence.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

std::atomic<int> allocations{0};

}  // namespace

void* operator new(std::size_t size)
{
    ++allocations;
    if (void* memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { std::free(memory); }

namespace {

TEST(Allocations, NoBlockCostsAny)
{
    const auto music = synth::cadence({.secondsPerChord = 4});
    CKeyDetect_If* detector = nullptr;
    ASSERT_EQ(CreateInstance(&detector, 44100, 1, 0, 0.0f), eboKey::kOk);
    const auto feed = [&] {
        for (std::size_t first = 0; first + 16384 <= music.size(); first += 16384) {
            const float* const channel = music.data() + first;
            detector->process(&channel, 16384);
        }
    };
    feed();  // the log of the blocks grows once in the first ten seconds, and then not for 50
    const int before = allocations;
    feed();
    feed();
    EXPECT_EQ(allocations - before, 0);
    DestroyInstance(&detector);
}

}  // namespace
