#include "Probe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <gtest/gtest.h>

namespace {

using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using ebo::weakptr;
using runtimetest::Probe;

TEST(Weakptr, OfNothingIsInvalid)
{
    EXPECT_FALSE(weakptr<Probe>().isValid());
    EXPECT_EQ(weakptr<Probe>().promote(), nullptr);
    EXPECT_FALSE(weakptr<Probe>(static_cast<Probe*>(nullptr)).isValid());
}

TEST(Weakptr, PromotionTakesAReferenceOfItsOwn)
{
    const GarbageCollection collector;
    refptr<Probe> strong = makeRef<Probe>();
    const weakptr<Probe> weak(strong);
    EXPECT_EQ(strong->referenceCount(), 1U);
    const refptr<Probe> promoted = weak.promote();
    ASSERT_EQ(promoted, strong);
    strong.reset();
    EXPECT_EQ(promoted->referenceCount(), 1U);
    EXPECT_TRUE(weak.isValid());
}

TEST(Weakptr, TurnsInvalidAtTheLastDropBeforeTheObjectEnds)
{
    GarbageCollection collector;
    bool ended = false;
    refptr<Probe> strong = makeRef<Probe>([&] { ended = true; });
    const weakptr<Probe> weak(strong);
    strong.reset();
    EXPECT_FALSE(weak.isValid());
    EXPECT_EQ(weak.promote(), nullptr);
    EXPECT_FALSE(ended);
    collector.purge(false);
    EXPECT_TRUE(ended);
    EXPECT_EQ(weak.promote(), nullptr);
}

TEST(Weakptr, CopiesAndMovesLookAtTheSameObject)
{
    const GarbageCollection collector;
    const refptr<Probe> strong = makeRef<Probe>();
    weakptr<Probe> first(strong);
    weakptr<Probe> second = first;
    EXPECT_EQ(second.promote(), strong);
    const weakptr<Probe> third = std::move(second);
    EXPECT_EQ(third.promote(), strong);
    first = weakptr<Probe>();
    EXPECT_FALSE(first.isValid());
    EXPECT_EQ(strong->referenceCount(), 1U);
}

TEST(Weakptr, OutlivesItsObject)
{
    weakptr<Probe> weak;
    {
        const GarbageCollection collector;
        weak = weakptr<Probe>(makeRef<Probe>());
    }
    EXPECT_FALSE(weak.isValid());
    EXPECT_EQ(weak.promote(), nullptr);
}

TEST(Weakptr, DoesNotFadeWithAHolderThatSeesOnlyTheCountingInterface)
{
    GarbageCollection collector;
    bool ended = false;
    refptr<Probe> strong = makeRef<Probe>([&] { ended = true; });
    const weakptr<Probe> weak(strong);
    refptr<ebo::Irefcounted> counting = strong;
    strong.reset();
    counting.reset();
    refptr<Probe> promoted = weak.promote();
    ASSERT_NE(promoted, nullptr);
    collector.purge(false);
    EXPECT_FALSE(ended) << "promoted before its turn came, it lives on";
    promoted.reset();
    collector.purge(false);
    EXPECT_TRUE(ended);
}

}  // namespace
