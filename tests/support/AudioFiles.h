#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// Makes audio files and decodes them independently of our readers, with the command line programs `ffmpeg`,
/// `flac`, `oggenc` and `oggdec`. Every function throws std::runtime_error with what is missing or what went
/// wrong.
namespace testsupport {

/// Runs a program, gives it the input and returns its standard output.
std::string runProgram(const std::string& program, const std::vector<std::string>& arguments,
                       const std::string& input = {});

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

/// Whole-numbered samples.
struct Pcm {
    int sampleRate = 44100;
    int channels = 2;
    int bits = 16;
    std::vector<std::int32_t> samples;  ///< Interleaved, of `bits` bits with sign.
};

/// Test sound in samples: chirps under noise, different in each channel, with the largest and the smallest
/// value at the start; the same at each call.
Pcm testPcm(std::size_t frames, int sampleRate, int channels, int bits);

/// Encodes by the flac program, into Ogg if the path ends in ".oga".
/// @param options such as {"--blocksize=192", "--lax"}
void encodeFlac(const std::string& path, const Pcm& pcm, const std::vector<std::string>& options = {});

/// The same through pipes: the result does not tell how long it is.
std::string encodeFlacThroughPipe(const Pcm& pcm, const std::vector<std::string>& options = {});

/// Encodes 16-bit samples by the oggenc program.
void encodeVorbis(const std::string& path, const Pcm& pcm, const std::vector<std::string>& options = {});

/// What the flac program makes of the file: interleaved samples.
std::vector<std::int32_t> decodeFlac(const std::string& path, int bits);

/// What the oggdec program makes of the file: interleaved samples of 16 bits.
std::vector<std::int32_t> decodeVorbis(const std::string& path);

std::string readWholeFile(const std::string& path);
void writeWholeFile(const std::string& path, const std::string& bytes);

}  // namespace testsupport
