#pragma once

#include "file/eboFileFactory.h"
#include "formats/DecodingOptions.h"
#include "formats/eboFormatReader.h"
#include "runtime/refptr.h"

#include <QString>

#include <functional>

/// One format of the registry: what its files are called, and how a reader for one is made.
struct FormatEntry {
    QString extensions;  ///< Separated by semicolons, without dots.

    /// Does this entry want the file at the path?
    std::function<bool(const QString& path)> canRead;

    /// A reader for the file; null if the file cannot be opened.
    /// Throws eboFormatReader::FileUnsupported if the file is not what its name promises.
    std::function<ebo::refptr<eboFormatReader>(
        const QString& path, const ebo::refptr<eboFileFactory>& factory, const DecodingOptions& options)>
        createReader;
};
