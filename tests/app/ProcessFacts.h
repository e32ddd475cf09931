#pragma once

#include <QtGlobal>

#include <cstdint>
#include <string>
#include <vector>

/// What the system knows of a running process, from /proc.
namespace processfacts {

[[nodiscard]] int threads(qint64 processId);

/// What its open descriptors lead to: paths of files, "socket:[...]" and so on.
[[nodiscard]] std::vector<std::string> descriptors(qint64 processId);

/// Those of descriptors that begin so.
[[nodiscard]] int count(const std::vector<std::string>& descriptors, const std::string& begin);

[[nodiscard]] long residentKiB(qint64 processId);

/// Lets the process have so many more bytes of memory of its own than it has, and gives back what there is no
/// limit to when it ends.
class MemoryLimit {
public:
    MemoryLimit(qint64 processId, std::int64_t moreBytes);
    ~MemoryLimit();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;

private:
    const int processId_;
};

/// Lets the process open so many more descriptors and none beyond, until this ends.
class DescriptorLimit {
public:
    DescriptorLimit(qint64 processId, int more);
    ~DescriptorLimit();
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    const int processId_;
};

}  // namespace processfacts
