#include "runtime/GarbageCollection.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <thread>
#include <vector>

namespace {

using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using ebo::weakptr;

constexpr int kAlive = 0x600D;
constexpr int kDead = 0xDEAD;

std::atomic<int> canariesAlive{0};
std::atomic<int> canariesSeenDead{0};

class Canary : public ebo::refcounted {
public:
    Canary() { ++canariesAlive; }
    ~Canary() override
    {
        mark_ = kDead;
        --canariesAlive;
    }

    void look() const
    {
        if (mark_ != kAlive)
            ++canariesSeenDead;
    }

private:
    int mark_ = kAlive;
};

/// Ends objects as fast as they come, where the collector's own thread would let them rest.
class EagerPurging {
public:
    explicit EagerPurging(GarbageCollection& collector)
        : thread_([this, &collector] {
              while (!end_) {
                  if (collector.purge(false) == 0)
                      std::this_thread::yield();
              }
          })
    {}
    ~EagerPurging()
    {
        end_ = true;
        thread_.join();
    }
    EagerPurging(const EagerPurging&) = delete;
    EagerPurging& operator=(const EagerPurging&) = delete;

private:
    std::atomic<bool> end_{false};
    std::thread thread_;
};

class WeakPromotionTorture : public testing::Test {
protected:
    void SetUp() override
    {
        canariesAlive = 0;
        canariesSeenDead = 0;
    }
    void TearDown() override
    {
        EXPECT_EQ(canariesSeenDead, 0) << "a promoted reference showed a destroyed object";
        EXPECT_EQ(canariesAlive, 0) << "objects left over, or destroyed twice";
    }
};

TEST_F(WeakPromotionTorture, PromotionAgainstLastDropAndDestruction)
{
    constexpr int kPromoters = 2;
    const int rounds = testsupport::repetitions(3000);
    GarbageCollection collector;
    const EagerPurging purging(collector);
    refptr<Canary> strong;
    weakptr<Canary> weak;
    std::barrier gate(kPromoters + 1);

    std::vector<std::thread> promoters;
    promoters.reserve(kPromoters);
    for (int i = 0; i < kPromoters; ++i)
        promoters.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                gate.arrive_and_wait();
                for (int attempt = 0; attempt < 8; ++attempt) {
                    if (const refptr<Canary> promoted = weak.promote())
                        promoted->look();
                }
                gate.arrive_and_wait();
            }
        });
    for (int round = 0; round < rounds; ++round) {
        strong = makeRef<Canary>();
        weak = weakptr<Canary>(strong);
        gate.arrive_and_wait();
        strong.reset();
        gate.arrive_and_wait();
    }
    for (std::thread& promoter : promoters)
        promoter.join();
}

TEST_F(WeakPromotionTorture, HoldersThatSeeOnlyTheCountLeaveTheDecisionToTheRecord)
{
    const int rounds = testsupport::repetitions(3000);
    GarbageCollection collector;
    const EagerPurging purging(collector);
    refptr<ebo::Irefcounted> counting;
    weakptr<Canary> weak;
    std::barrier gate(2);

    std::thread promoter([&] {
        for (int round = 0; round < rounds; ++round) {
            gate.arrive_and_wait();
            while (const refptr<Canary> promoted = weak.promote())
                promoted->look();
            gate.arrive_and_wait();
        }
    });
    for (int round = 0; round < rounds; ++round) {
        {
            const refptr<Canary> strong = makeRef<Canary>();
            weak = weakptr<Canary>(strong);
            counting = strong;
        }
        gate.arrive_and_wait();
        counting.reset();
        gate.arrive_and_wait();
    }
    promoter.join();
}

TEST_F(WeakPromotionTorture, ManyHoldersLetGoAtOnce)
{
    constexpr int kHolders = 3;
    const int rounds = testsupport::repetitions(3000);
    GarbageCollection collector;
    const EagerPurging purging(collector);
    refptr<Canary> source;
    std::barrier gate(kHolders + 1);

    std::vector<std::thread> holders;
    holders.reserve(kHolders);
    for (int i = 0; i < kHolders; ++i)
        holders.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                gate.arrive_and_wait();
                refptr<Canary> own = source;
                gate.arrive_and_wait();
                own->look();
                own.reset();
                gate.arrive_and_wait();
            }
        });
    for (int round = 0; round < rounds; ++round) {
        source = makeRef<Canary>();
        gate.arrive_and_wait();
        gate.arrive_and_wait();
        source.reset();
        gate.arrive_and_wait();
    }
    for (std::thread& holder : holders)
        holder.join();
}

}  // namespace
