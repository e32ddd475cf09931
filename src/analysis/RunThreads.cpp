#include "analysis/RunThreads.h"

#include <utility>

namespace {

// For one idle run to end. What it is in the middle of, the reading of a slow file above all, may take
// longer.
constexpr unsigned long kPatienceMilliseconds = 200;

}  // namespace

RunThreads::~RunThreads() { joinAll(); }

bool RunThreads::start(const std::shared_ptr<AnalysisRun>& run)
{
    if (count() >= kMostUp)
        makeRoom();
    if (!run->start()) {
        makeRoom();
        if (!run->start())
            return false;
    }
    runs_.push_back(run);
    connect(run->thread(), &QThread::finished, this, [this, weak = std::weak_ptr(run)] {
        if (const auto ended = weak.lock()) {
            ended->join();
            std::erase(runs_, ended);
        }
    });
    return true;
}

void RunThreads::makeRoom()
{
    std::erase_if(runs_, [](const auto& run) { return run->isIdle() && run->join(kPatienceMilliseconds); });
}

void RunThreads::joinAll()
{
    for (const auto& run : runs_)
        run->stop();
    for (const auto& run : std::exchange(runs_, {}))
        run->join();
}
