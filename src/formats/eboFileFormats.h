#pragma once

#include "file/eboFileFactory.h"
#include "formats/FormatEntry.h"
#include "formats/eboFormatReader.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QString>

#include <vector>

/// The audio formats that the system can read, in the order in which they are tried. It knows files by name
/// only; what decodes them is the entries' affair. Never changes once made, so any thread may use it.
class eboFileFormats : public ebo::refcounted {
public:
    /// The registry of all formats of the system.
    /// @param factory where the readers get their files; null for local files
    explicit eboFileFormats(ebo::refptr<eboFileFactory> factory);

    /// A registry of the given formats, tried from first to last.
    eboFileFormats(ebo::refptr<eboFileFactory> factory, std::vector<FormatEntry> entries);

    /// A reader for the file at the path, always an eboAudioFormatReader; null, with a log line, if the file
    /// cannot be opened or no format fits. A format whose decoder refuses the contents is passed over.
    [[nodiscard]] ebo::refptr<eboFormatReader> createReader(const QString& path,
                                                            const DecodingOptions& options = {});

private:
    const ebo::refptr<eboFileFactory> factory_;
    const std::vector<FormatEntry> entries_;
};
