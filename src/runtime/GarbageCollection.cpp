#include "runtime/GarbageCollection.h"

#include "runtime/deferredDeletions.h"
#include "runtime/destroyNow.h"

#include <boost/thread.hpp>

#include <QThread>

#include <utility>

namespace ebo {
namespace {

constexpr int kIdleMilliseconds = 100;
constexpr std::int32_t kBacklog = 101;
constexpr int kHurriedLevel = 5;
constexpr int kUsualLevel = 0;

std::atomic<GarbageCollection*> theCollector{nullptr};

}  // namespace

GarbageCollection::GarbageCollection() { theCollector = this; }

GarbageCollection::~GarbageCollection()
{
    dying_ = true;
    if (exists()) {
        requestStop();
        joinAndForget();
    }
    stop();
    purge(false);
    deliverDeferredDeletions();
    theCollector = nullptr;
    destroyLeftovers();
}

GarbageCollection* GarbageCollection::instance() noexcept { return theCollector; }

void GarbageCollection::collect(Irefcounted* reference)
{
    if (dying_) {
        destroyNow(reference, true);
        return;
    }
    auto* node = new PendingObject{reference, std::clock(), pendingHead_.load()};
    while (!pendingHead_.compare_exchange_weak(node->next, node)) {
    }
    // The first push over the mark raises the priority; the purge that catches up lowers it again.
    if (pendingCount_.fetch_add(1) >= kBacklog && !hurried_.exchange(true))
        changePriority(kHurriedLevel);
}

GarbageCollection::PendingObject* GarbageCollection::takeOldestFirst()
{
    PendingObject* newestFirst = pendingHead_.exchange(nullptr);
    PendingObject* oldestFirst = nullptr;
    while (newestFirst != nullptr) {
        PendingObject* node = std::exchange(newestFirst, newestFirst->next);
        node->next = std::exchange(oldestFirst, node);
    }
    return oldestFirst;
}

void GarbageCollection::rest(const PendingObject& object)
{
    // The age is measured in processor time, the sleep is real time: an idle process lets an object rest for
    // the whole 100 ms, a busy one for less.
    const double age = static_cast<double>(std::clock() - object.queuedAt) / CLOCKS_PER_SEC;
    const double remaining = 1.0 - age;
    if (remaining <= 0 || stopRequested())
        return;
    try {
        boost::this_thread::sleep_for(
            boost::chrono::milliseconds(static_cast<int>(remaining * kIdleMilliseconds)));
    } catch (const boost::thread_interrupted&) {
        requestStop();
    }
}

int GarbageCollection::purge(bool delayed)
{
    std::int32_t processed = 0;
    for (PendingObject* node = takeOldestFirst(); node != nullptr; ++processed) {
        if (delayed)
            rest(*node);
        destroyNow(node->reference, !delayed);
        delete std::exchange(node, node->next);
    }
    if (hurried_.exchange(false))
        changePriority(kUsualLevel);
    pendingCount_.fetch_sub(processed);
    return processed > 0 ? 1 : 0;
}

void GarbageCollection::_run()
{
    QThread::currentThread()->setObjectName(QStringLiteral("Garbage"));
    const auto mustEnd = [this] { return stopRequested() || boost::this_thread::interruption_requested(); };
    while (!mustEnd()) {
        if (purge(true) == 0 && !mustEnd())
            boost::this_thread::sleep_for(boost::chrono::milliseconds(kIdleMilliseconds));
    }
}

void GarbageCollection::destroyLeftovers()
{
    for (PendingObject* node = takeOldestFirst(); node != nullptr;) {
        destroyNow(node->reference, false);
        delete std::exchange(node, node->next);
    }
}

}  // namespace ebo
