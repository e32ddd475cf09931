#pragma once

#include <cstddef>
#include <memory>
#include <utility>

/// How much waits on behalf of all uses of all files together, against one limit for them all: those of each
/// use alone would add up to more than a device has memory. Network thread.
class Backlog {
public:
    /// @param always  what a single use may have waiting whatever the others pile up, so that nobody can
    ///                keep the others from being served
    Backlog(std::size_t most, std::size_t always) : most_(most), always_(always) {}

    /// The part of one use. It counts for as long as this lives.
    class Share {
    public:
        explicit Share(std::shared_ptr<Backlog> whole) : whole_(std::move(whole)) {}
        ~Share() { set(0); }
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        [[nodiscard]] bool hasRoomFor(std::size_t more) const
        {
            return own_ + more <= whole_->always_ || whole_->total_ + more <= whole_->most_;
        }

        /// So much waits now.
        void set(std::size_t own)
        {
            whole_->total_ = whole_->total_ - own_ + own;
            own_ = own;
        }

    private:
        const std::shared_ptr<Backlog> whole_;
        std::size_t own_ = 0;
    };

private:
    const std::size_t most_;
    const std::size_t always_;
    std::size_t total_ = 0;
};

/// What can wait of each kind.
struct Backlogs {
    /// Ranges of blocks to be sent: 64 MB.
    std::shared_ptr<Backlog> ranges = std::make_shared<Backlog>(std::size_t{1} << 20U, std::size_t{64});

    /// Writes to be synced, each of a block at most: 512 MiB.
    std::shared_ptr<Backlog> writes = std::make_shared<Backlog>(std::size_t{1} << 17U, std::size_t{16});
};
