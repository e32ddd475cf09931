#include "app/ProcessFacts.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string_view>

#include <sys/resource.h>

namespace processfacts {

namespace {

std::filesystem::path folder(qint64 processId) { return "/proc/" + std::to_string(processId); }

long kiBytesOf(qint64 processId, std::string_view key)
{
    std::ifstream status(folder(processId) / "status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key))
            return std::stol(line.substr(key.size()));
    }
    return 0;
}

void setSoftLimit(int processId, __rlimit_resource resource, rlim_t value)
{
    rlimit limit{};
    EXPECT_EQ(::prlimit(processId, resource, nullptr, &limit), 0);
    limit.rlim_cur = std::min(value, limit.rlim_max);
    EXPECT_EQ(::prlimit(processId, resource, &limit, nullptr), 0);
}

}  // namespace

int threads(qint64 processId)
{
    const std::filesystem::directory_iterator tasks(folder(processId) / "task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

std::vector<std::string> descriptors(qint64 processId)
{
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder(processId) / "fd")) {
        std::error_code closedMeanwhile;
        const auto target = std::filesystem::read_symlink(entry.path(), closedMeanwhile);
        if (!closedMeanwhile)
            result.push_back(target.string());
    }
    return result;
}

int count(const std::vector<std::string>& descriptors, const std::string& begin)
{
    return static_cast<int>(std::count_if(descriptors.begin(), descriptors.end(),
                                          [&](const auto& target) { return target.starts_with(begin); }));
}

long residentKiB(qint64 processId) { return kiBytesOf(processId, "VmRSS:"); }

MemoryLimit::MemoryLimit(qint64 processId, std::int64_t moreBytes) : processId_(static_cast<int>(processId))
{
    constexpr std::int64_t kKiB = 1024;
    setSoftLimit(processId_, RLIMIT_DATA,
                 static_cast<rlim_t>(kiBytesOf(processId, "VmData:") * kKiB + moreBytes));
}

MemoryLimit::~MemoryLimit() { setSoftLimit(processId_, RLIMIT_DATA, RLIM_INFINITY); }

DescriptorLimit::DescriptorLimit(qint64 processId, int more) : processId_(static_cast<int>(processId))
{
    const auto isFree = [this](int number) {
        return !std::filesystem::is_symlink(folder(processId_) / "fd" / std::to_string(number));
    };
    int limit = 0;
    for (int found = 0; !isFree(limit) || found++ < more; ++limit) {
    }
    setSoftLimit(processId_, RLIMIT_NOFILE, static_cast<rlim_t>(limit));
}

DescriptorLimit::~DescriptorLimit() { setSoftLimit(processId_, RLIMIT_NOFILE, RLIM_INFINITY); }

}  // namespace processfacts
