#pragma once

#include "support/MemoryFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>

namespace testsupport {

/// A file in memory that fails, or delivers less than asked for, as the test wants, and counts.
class FaultyFile : public MemoryFile {
public:
    static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

    using MemoryFile::MemoryFile;
    std::int64_t read(void* buffer, std::int64_t size) override
    {
        std::this_thread::sleep_for(delay);
        if (errorNumber != 0)
            errno = errorNumber;
        if (pos() >= failAt)
            return failWith;
        const std::int64_t wanted = shortReads ? 1 + (size - 1) % 7 : size;
        const std::int64_t count = MemoryFile::read(buffer, std::min(wanted, failAt - pos()));
        bytesRead += std::max(count, std::int64_t{0});
        return count;
    }
    bool seek(std::int64_t position) override
    {
        ++seeks;
        return !seeksFail && MemoryFile::seek(position);
    }

    std::int64_t failAt = kNever;  ///< The byte from which on reads fail.
    std::int64_t failWith = -1;
    bool shortReads = false;
    bool seeksFail = false;
    int errorNumber = 0;  ///< Left in errno by every read.
    std::chrono::microseconds delay{0};

    int seeks = 0;
    std::int64_t bytesRead = 0;
};

}  // namespace testsupport
