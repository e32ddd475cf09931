#pragma once

#include "file/caching/eboCopyingPace.h"
#include "file/caching/eboFileCachingThreadListener.h"
#include "file/eboFile.h"
#include "file/eboFileFactory.h"
#include "runtime/Thread.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <boost/filesystem/path.hpp>

#include <QString>

#include <chrono>
#include <cstddef>
#include <list>
#include <memory>
#include <mutex>
#include <vector>

/// Copies one file to faster storage while somebody has it open, and removes the copy when nobody has any
/// more. Made by eboFileCache and shared by all views of the file; it ends with the last of them, and then
/// leaves no copy behind. One mutex guards its state and the views that share it.
class eboFileCachingThread : public ebo::Thread, public ebo::refcounted {
public:
    enum State : int {
        NotStarted = 0,
        Idle = 1,  ///< Running, no copy.
        Copying = 2,
        Complete = 3,
        Failed = 4,  ///< There will be no copy of this file.
        Removed = 5
    };

    /// @param factory    makes the file of the copy
    /// @param source     what is copied; closed, and not used by anybody else
    /// @param storage    below it lies the folder for the copy, see tempFolderPath
    /// @param pace       how fast it is copied; only the thread uses it
    eboFileCachingThread(ebo::refptr<eboFileFactory> factory, ebo::refptr<eboFile> source,
                         boost::filesystem::path storage,
                         std::shared_ptr<eboCopyingPace> pace = std::make_shared<eboCopyingPace>());

    /// Waits for a copy under way to be given up and removed.
    ~eboFileCachingThread() override;

    /// Starts the native thread, in state Idle.
    void begin();

    /// Hears of every state from now on, for as long as it lives. Does not keep the listener alive.
    void addListener(const ebo::weakptr<eboFileCachingThreadListener>& listener);

    /// Forgets the listeners that have died.
    void dropDeadListeners();

    /// How many it would tell, those that have died and were not forgotten included. For tests and diagnosis.
    [[nodiscard]] std::size_t listenerCount();

    /// Whether copies are made; if not, the next attempt fails. They are, at first.
    void setEnabled(bool enabled);

    /// Makes the copy, on the caching thread. Ends early when the thread is told to stop or the copy is not
    /// wanted any more. @return false if there is no complete copy
    bool cloneToTempFile();

    /// The mutex of the state and of the views, held by the result.
    [[nodiscard]] std::unique_lock<std::mutex> lock();

    /// @name For holders of `lock` only.
    /// @{
    [[nodiscard]] State cacheState() const { return state_; }
    /// The copy, complete or not; null without one.
    [[nodiscard]] const ebo::refptr<eboFile>& copy() const { return copy_; }
    void viewOpened();
    void viewClosed();
    /// @}

protected:
    void _run() override;

private:
    using Listeners = std::vector<ebo::refptr<eboFileCachingThreadListener>>;

    void changeState(State state);
    [[nodiscard]] Listeners tell(State state);
    void makeCopy();
    bool tryToCopy();
    bool copyBlocks(eboFile& source, eboFile& copy);
    bool copyBlock(eboFile& source, eboFile& copy);
    void giveWay(std::chrono::milliseconds reading);
    void removeCopy();
    [[nodiscard]] QString sourceName() const;

    // For holders of the lock.
    [[nodiscard]] bool wantsCopy() const { return openCount_ > 0 && !copy_ && !gaveUp_; }
    [[nodiscard]] bool isInterrupted() const { return stopRequested() || wereAllClosed_; }
    [[nodiscard]] bool hasLeftOver() const { return wereAllClosed_ || (copy_ && gaveUp_); }

    const ebo::refptr<eboFileFactory> fileFactory_;
    const ebo::refptr<eboFile> source_;
    const boost::filesystem::path storage_;
    const std::shared_ptr<eboCopyingPace> pace_;

    // Guarded by the lock. What is to be done follows from the open views, the copy and whether it was given
    // up; the state is no more than what the listeners were told.
    bool enabled_ = true;
    int openCount_ = 0;           ///< Views that are open.
    ebo::refptr<eboFile> copy_;   ///< From its first byte until it is removed.
    bool gaveUp_ = false;         ///< A copy failed, other than for want of readers: there will be none.
    bool wereAllClosed_ = false;  ///< Since the last removal: a copy from before is of no use to new readers.
    State state_ = NotStarted;
    std::list<ebo::weakptr<eboFileCachingThreadListener>> listeners_;
};
