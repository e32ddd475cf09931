#pragma once

#include "file/eboFile.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

class eboFileFactory;

/// What a factory offers its files to when caching was asked for. A factory without one does not cache.
class eboFileCacheEnabler : public ebo::refcounted {
public:
    /// A file that reads like the given, closed one from a copy on faster storage.
    /// @return null if this file cannot be cached
    [[nodiscard]] virtual ebo::refptr<eboFile>
    createCachedFile(const ebo::refptr<eboFile>& file, const ebo::refptr<eboFileFactory>& factory) = 0;
};
