#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// Makes audio files and decodes them independently of our readers, with the `ffmpeg` command line program.
/// Every function throws std::runtime_error with what is missing or what went wrong.
namespace testsupport {

/// Runs ffmpeg with the given arguments (it overwrites, and is quiet) and returns its standard output.
std::string runFfmpeg(const std::vector<std::string>& arguments);

/// Encodes test sound to the path, whose extension tells the container: noise under a chirp, different in
/// each channel, the same at each call.
/// @param options output options of ffmpeg, such as {"-c:a", "pcm_s24le"}
void makeAudioFile(const std::string& path, double seconds, int sampleRate, int channels,
                   const std::vector<std::string>& options = {});

/// What a plain decode delivers: the interleaved samples of the file's first audio stream.
std::vector<float> plainDecode(const std::string& path);

/// Writes a RIFF file of 32-bit floats with the given interleaved samples as they are, also NaN and infinity.
void writeFloatWav(const std::string& path, const std::vector<float>& samples, std::uint32_t sampleRate,
                   std::uint16_t channels);

std::string readWholeFile(const std::string& path);
void writeWholeFile(const std::string& path, const std::string& bytes);

}  // namespace testsupport
