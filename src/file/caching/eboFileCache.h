#pragma once

#include "file/eboFileCacheEnabler.h"
#include "file/tempFolderPath.h"

#include <boost/filesystem/path.hpp>

/// Lets a factory cache its files: see eboFileFactory::setCacheEnabler. Any thread.
class eboFileCache : public eboFileCacheEnabler {
public:
    /// @param storage  where the copies go, below the folder for temporary files
    explicit eboFileCache(boost::filesystem::path storage = kInternalStorage);

    /// A view of the file, which gets a caching thread of its own.
    /// @return null if the file cannot be opened, or its copy would not fit
    /// @throws boost::filesystem::filesystem_error if the storage cannot be used
    [[nodiscard]] ebo::refptr<eboFile> createCachedFile(const ebo::refptr<eboFile>& file,
                                                        const ebo::refptr<eboFileFactory>& factory) override;

private:
    const boost::filesystem::path storage_;
};
