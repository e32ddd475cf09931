#pragma once

#include "file/eboFile.h"
#include "formats/DecodingOptions.h"
#include "formats/TrackLength.h"
#include "formats/eboDecodedFileReader.h"
#include "formats/flac/flacStream.h"
#include "runtime/refptr.h"

#include <cstdint>
#include <memory>
#include <optional>

/// Reads FLAC with libFLAC, through an eboFile: inside Ogg if the file's name ends in ".oga", as it is under
/// any other name. A sample of b bits is scaled by 1 / (2^(b-1) - 1). Reading on and seeking agree about
/// every frame.
class flacFileReader : public eboDecodedFileReader {
public:
    /// Opens the file, locks it, reads its head, and looks for its last block, which tells the length: heads
    /// of streams that were written into a pipe do not, and others are wrong. A file that breaks off within a
    /// block keeps the length that its head states.
    /// @param knownLength if that has been found out before
    /// @throws FileUnsupported, and what a refused lock throws (see eboFileLocker)
    explicit flacFileReader(ebo::refptr<eboFile> file, const DecodingOptions& options = {},
                            std::optional<TrackLength> knownLength = {});
    ~flacFileReader() override;

    [[nodiscard]] ebo::refptr<eboFormatReader> clone() override;
    [[nodiscard]] DigestVerdict digestVerdict() override;

    /// As in the base, but after a failure nothing is delivered.
    std::uint64_t readInterleaved(float* target, std::uint64_t firstSample,
                                  std::uint64_t sampleCount) override;

private:
    std::unique_ptr<flacStream> openStream();
    TrackLength findLength();
};
