#pragma once

#include "file/eboFile.h"
#include "runtime/refptr.h"
#include "runtime/weakptr.h"

#include <exception>

/// Holds a Shared lock on a file for as long as it lives. Keeps the file itself alive no longer than others
/// do.
class eboFileLocker {
public:
    /// The file object had a level already.
    class RecursiveLockException : public std::exception {
    public:
        [[nodiscard]] const char* what() const noexcept override { return "eboFile was already locked"; }
    };

    /// The level was refused.
    class LockFailException : public std::exception {
    public:
        [[nodiscard]] const char* what() const noexcept override { return "eboFile locking failed"; }
    };

    /// @throws std::runtime_error without a file, RecursiveLockException, LockFailException
    explicit eboFileLocker(const ebo::refptr<eboFile>& file);

    /// Unlocks; says so critically if the file stays locked.
    ~eboFileLocker();

    eboFileLocker(const eboFileLocker&) = delete;
    eboFileLocker& operator=(const eboFileLocker&) = delete;

private:
    ebo::weakptr<eboFile> file_;
};
