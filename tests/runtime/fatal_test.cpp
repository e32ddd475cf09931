// What ends the process, each case in a child of its own.

#include "Probe.h"

#include "runtime/GarbageCollection.h"
#include "runtime/refptr.h"
#include "runtime/threadPriority.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <pthread.h>
#include <sched.h>
#include <thread>

namespace {

using ebo::GarbageCollection;
using ebo::makeRef;
using ebo::refptr;
using runtimetest::Probe;

class FatalDeathTest : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

/// A handle that is valid, not having been joined, but names no running thread any more.
pthread_t handleOfEndedThread()
{
    pthread_t handle{};
    pthread_create(
        &handle, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
    int policy = 0;
    sched_param parameters{};
    while (pthread_getschedparam(handle, &policy, &parameters) != ESRCH)
        std::this_thread::yield();
    return handle;
}

TEST_F(FatalDeathTest, AThreadThatCannotHaveItsSchedulingEndsTheProcess)
{
    EXPECT_DEATH(ebo::setThreadPriority(handleOfEndedThread(), 0),
                 "No thread with the ID thread could be found\\.");
}

void endTheCollectorOnItsOwnThread()
{
    auto* collector = new GarbageCollection;
    collector->start();
    makeRef<Probe>([collector] { delete collector; }).reset();
    while (GarbageCollection::instance() != nullptr)
        std::this_thread::yield();
}

TEST_F(FatalDeathTest, ACollectorDestroyedOnItsOwnThreadEndsTheProcess)
{
    EXPECT_DEATH(endTheCollectorOnItsOwnThread(), "trying joining itself");
}

#ifndef NDEBUG

class ReferencesItselfInItsConstructor : public ebo::refcounted {
public:
    ReferencesItselfInItsConstructor() : self_(this) {}

private:
    refptr<ReferencesItselfInItsConstructor> self_;
};

TEST_F(FatalDeathTest, AReferenceToItselfInAConstructorIsAsserted)
{
    EXPECT_DEATH((void)makeRef<ReferencesItselfInItsConstructor>(), "made in the constructor");
}

class ReferencesItselfInItsDestructor : public ebo::refcounted {
public:
    explicit ReferencesItselfInItsDestructor(refptr<ReferencesItselfInItsDestructor>& leak) : leak_(leak) {}
    ~ReferencesItselfInItsDestructor() override { leak_ = refptr<ReferencesItselfInItsDestructor>(this); }

private:
    refptr<ReferencesItselfInItsDestructor>& leak_;
};

TEST_F(FatalDeathTest, AReferenceToItselfInADestructorIsAsserted)
{
    refptr<ReferencesItselfInItsDestructor> leak;
    EXPECT_DEATH(makeRef<ReferencesItselfInItsDestructor>(leak).reset(), "made in the destructor");
}

#endif

}  // namespace
