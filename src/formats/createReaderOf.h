#pragma once

#include "file/eboFileFactory.h"
#include "formats/DecodingOptions.h"
#include "formats/eboFormatReader.h"
#include "runtime/refptr.h"

#include <QString>

/// What an entry of the registry does to make a Reader of its own: see FormatEntry::createReader.
template <typename Reader>
ebo::refptr<eboFormatReader> createReaderOf(const QString& path, const ebo::refptr<eboFileFactory>& factory,
                                            const DecodingOptions& options)
{
    const ebo::refptr<eboFile> file = factory->open(path.toUtf8().constData(), eboFileFactory::kKeptAlive);
    if (!file)
        return nullptr;
    return ebo::makeRef<Reader>(file, options);
}
