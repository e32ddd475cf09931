#include "formats/LockedFile.h"

#include "formats/eboFormatReader.h"

#include <utility>

LockedFile::LockedFile(ebo::refptr<eboFile> file, const char* decoder) : file_(std::move(file))
{
    if (!file_ || !file_->open(eboFile::OpenRead | eboFile::OpenBinary))
        throw eboFormatReader::FileUnsupported(decoder);
    try {
        fileLock_.emplace(file_);
    } catch (...) {
        file_->close();
        throw;
    }
}

LockedFile::~LockedFile() { close(); }

void LockedFile::close()
{
    fileLock_.reset();
    file_->close();
}
