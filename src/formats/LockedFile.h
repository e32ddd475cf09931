#pragma once

#include "file/eboFile.h"
#include "file/eboFileLocker.h"
#include "runtime/refptr.h"

#include <optional>

/// The file of a reader: open for reading and locked from its construction to `close` or its end. One thread
/// at a time.
class LockedFile {
public:
    /// @param decoder who asks, for the text of the refusal
    /// @throws eboFormatReader::FileUnsupported if there is no file or it cannot be opened, and what a
    /// refused
    ///         lock throws (see eboFileLocker)
    LockedFile(ebo::refptr<eboFile> file, const char* decoder);
    ~LockedFile();

    LockedFile(const LockedFile&) = delete;
    LockedFile& operator=(const LockedFile&) = delete;

    /// Lets go of the lock, then closes the file. Does nothing when called again.
    void close();

    [[nodiscard]] eboFile& operator*() const { return *file_; }
    [[nodiscard]] eboFile* operator->() const { return file_.get(); }

private:
    const ebo::refptr<eboFile> file_;
    std::optional<eboFileLocker> fileLock_;
};
