#pragma once

#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <stdexcept>

/// Reads the contents of one file by its format. Made by the registry, eboFileFormats.
class eboFormatReader : public virtual ebo::refcounted {
public:
    /// Thrown by a reader's constructor when the file is not one for its decoder; the text names the decoder.
    class FileUnsupported : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    /// A new reader on the same file, with a position of its own.
    /// @throws FileUnsupported if the file cannot be read any more
    [[nodiscard]] virtual ebo::refptr<eboFormatReader> clone() = 0;
};
