#pragma once

#include "file/eboFile.h"
#include "formats/DecodingOptions.h"
#include "formats/TrackLength.h"
#include "formats/eboDecodedFileReader.h"
#include "formats/ogg/oggStream.h"
#include "runtime/refptr.h"

#include <memory>

/// Reads Ogg Vorbis with libvorbisfile, through an eboFile. Takes the decoder's 16-bit output, v / 32767, so
/// that the loudest negative sample lies a little below -1.0. Reading on and seeking agree about every frame
/// of a file whose pages bear true time stamps.
class oggFileReader : public eboDecodedFileReader {
public:
    /// Opens the file, locks it and reads its headers.
    /// @throws FileUnsupported, also for chained files (several streams one behind the other), and what a
    ///         refused lock throws (see eboFileLocker)
    explicit oggFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options = {});
    ~oggFileReader() override;

    [[nodiscard]] ebo::refptr<eboFormatReader> clone() override;
};
