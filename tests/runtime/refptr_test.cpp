#include "Probe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/refptr.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using runtimetest::Probe;

class Derived : public Probe {};

TEST(Refptr, IsOnePointerWideAndNullByDefault)
{
    static_assert(sizeof(refptr<Probe>) == sizeof(Probe*));
    const refptr<Probe> none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(none.get(), nullptr);
}

TEST(Refptr, CopyingCountsAndMovingDoesNot)
{
    const GarbageCollection collector;
    refptr<Probe> first = makeRef<Probe>();
    EXPECT_EQ(first->referenceCount(), 1U);
    refptr<Probe> second = first;
    EXPECT_EQ(first->referenceCount(), 2U);
    const refptr<Probe> third = std::move(second);
    EXPECT_EQ(first->referenceCount(), 2U);
    first.reset();
    EXPECT_EQ(third->referenceCount(), 1U);
}

TEST(Refptr, AssignmentReleasesWhatItHeld)
{
    GarbageCollection collector;
    bool ended = false;
    refptr<Probe> holder = makeRef<Probe>([&] { ended = true; });
    holder = makeRef<Probe>();
    collector.purge(false);
    EXPECT_TRUE(ended);
    EXPECT_EQ(holder->referenceCount(), 1U);
}

TEST(Refptr, AssignmentToItselfKeepsTheObject)
{
    GarbageCollection collector;
    bool ended = false;
    refptr<Probe> holder = makeRef<Probe>([&] { ended = true; });
    const refptr<Probe>& sameHolder = holder;
    holder = sameHolder;
    EXPECT_EQ(collector.purge(false), 0);
    EXPECT_FALSE(ended);
}

TEST(Refptr, ConvertsAsPlainPointersDo)
{
    const GarbageCollection collector;
    const refptr<Derived> derived = makeRef<Derived>();
    const refptr<Probe> base = derived;
    const refptr<ebo::Irefcounted> counting = derived;
    EXPECT_EQ(base.get(), derived.get());
    EXPECT_EQ(derived->referenceCount(), 3U);
    EXPECT_EQ(ebo::dynamicCast<Derived>(base), derived);
    EXPECT_EQ(ebo::dynamicCast<Derived>(makeRef<Probe>()), nullptr);
    static_assert(!std::is_convertible_v<refptr<Probe>, refptr<Derived>>);
}

TEST(Refptr, DetachAndAdoptCarryACountAcross)
{
    const GarbageCollection collector;
    refptr<Probe> first = makeRef<Probe>();
    Probe* bare = first.detach();
    EXPECT_EQ(first, nullptr);
    EXPECT_EQ(bare->referenceCount(), 1U);
    const refptr<Probe> second = refptr<Probe>::adopt(bare);
    EXPECT_EQ(second->referenceCount(), 1U);
}

}  // namespace
