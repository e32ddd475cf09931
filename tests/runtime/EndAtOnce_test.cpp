#include "Probe.h"

#include "runtime/EndAtOnce.h"
#include "runtime/GarbageCollection.h"
#include "runtime/refptr.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

using ebo::EndAtOnce;
using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using runtimetest::Probe;

TEST(EndAtOnce, EndsWhatLosesItsLastReferenceOnItsThread)
{
    const GarbageCollection collector;
    bool ended = false;
    auto probe = makeRef<Probe>([&] { ended = true; });
    const EndAtOnce endAtOnce;
    probe.reset();
    EXPECT_TRUE(ended);
    EXPECT_EQ(collector.pendingCount(), 0);
}

TEST(EndAtOnce, EndsWhatTheEndedHeldAlone)
{
    const GarbageCollection collector;
    bool innerEnded = false;
    auto outer =
        makeRef<Probe>([inner = makeRef<Probe>([&] { innerEnded = true; })]() mutable { inner.reset(); });
    const EndAtOnce endAtOnce;
    outer.reset();
    EXPECT_TRUE(innerEnded);
}

TEST(EndAtOnce, LeavesAloneWhatIsReferencedElsewhere)
{
    const GarbageCollection collector;
    bool ended = false;
    auto one = makeRef<Probe>([&] { ended = true; });
    const refptr<Probe> other = one;
    const EndAtOnce endAtOnce;
    one.reset();
    EXPECT_FALSE(ended);
}

TEST(EndAtOnce, IsOverWithItsScopeAlsoWhenNested)
{
    const GarbageCollection collector;
    {
        const EndAtOnce outer;
        {
            const EndAtOnce inner;
        }
        EXPECT_TRUE(EndAtOnce::isOn());
    }
    EXPECT_FALSE(EndAtOnce::isOn());
    bool ended = false;
    makeRef<Probe>([&] { ended = true; }).reset();
    EXPECT_FALSE(ended) << "the collector has it";
}

TEST(EndAtOnce, MeansNoOtherThread)
{
    const GarbageCollection collector;
    bool ended = false;
    auto probe = makeRef<Probe>([&] { ended = true; });
    const EndAtOnce endAtOnce;
    std::thread([&] { probe.reset(); }).join();
    EXPECT_FALSE(ended);
}

}  // namespace
