#pragma once

#include "file/eboFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

namespace testsupport {

/// A read-only file that exists in memory alone. Its clones share the contents. Override an operation to make
/// it misbehave. One thread at a time.
class MemoryFile : public eboFile {
public:
    MemoryFile(std::string path, std::string bytes)
        : path_(std::move(path)), bytes_(std::make_shared<const std::string>(std::move(bytes)))
    {}

    [[nodiscard]] const char* filePath() const override { return path_.c_str(); }
    bool open(OpenFlags flags) override
    {
        if (isOpen_ || flags.testFlag(OpenWrite))
            return false;
        isOpen_ = true;
        position_ = 0;
        return true;
    }
    void close() override { isOpen_ = false; }
    [[nodiscard]] ebo::refptr<eboFile> clone() override { return ebo::makeRef<MemoryFile>(path_, *bytes_); }
    std::int64_t read(void* buffer, std::int64_t size) override
    {
        if (!isOpen_ || size < 0)
            return -1;
        const std::int64_t count = std::clamp(this->size() - position_, std::int64_t{0}, size);
        if (count > 0)
            std::memcpy(buffer, bytes_->data() + position_, static_cast<std::size_t>(count));
        position_ += count;
        return count;
    }
    std::int64_t write(const void* /*data*/, std::int64_t /*size*/) override { return -1; }
    bool seek(std::int64_t position) override
    {
        if (!isOpen_ || position < 0)
            return false;
        position_ = position;
        return true;
    }
    int sync() override { return 0; }
    int flush() override { return 0; }
    [[nodiscard]] std::int64_t pos() const override { return position_; }
    [[nodiscard]] std::int64_t size() const override { return static_cast<std::int64_t>(bytes_->size()); }
    [[nodiscard]] bool isReadable() const override { return isOpen_; }
    [[nodiscard]] bool isWritable() const override { return false; }
    bool truncate(std::int64_t /*newSize*/) override { return false; }
    int deleteFile() override { return -1; }
    eboFileLock::LockResult lock(eboFileLock::Level level) override
    {
        level_ = level;
        return eboFileLock::SUCCESS;
    }
    [[nodiscard]] eboFileLock::Level lockLevel() const override { return level_; }
    [[nodiscard]] bool isDirty() const override { return false; }
    [[nodiscard]] unsigned int blockSize() const override { return 1; }

private:
    std::string path_;
    std::shared_ptr<const std::string> bytes_;
    std::int64_t position_ = 0;
    bool isOpen_ = false;
    eboFileLock::Level level_ = eboFileLock::Unlocked;
};

}  // namespace testsupport
