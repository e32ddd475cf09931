#include "support/AudioFiles.h"

#include <QProcess>
#include <QStringList>

#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace testsupport {
namespace {

constexpr int kPatienceMilliseconds = 120000;

/// An expression for ffmpeg's aevalsrc: per channel a chirp at its own pitch under its own noise.
std::string testSound(int channels)
{
    std::string sound;
    for (int channel = 0; channel < channels; ++channel) {
        const std::string number = std::to_string(channel);
        if (channel > 0)
            sound += "|";
        sound.append("0.4*sin(2*PI*(200+100*").append(number).append(")*t*(1+0.2*t))");
        sound.append("+0.1*(2*random(").append(number).append(")-1)");
    }
    return sound;
}

template <typename Integer>
void append(std::string& bytes, Integer value)
{
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes.push_back(static_cast<char>((static_cast<std::uint64_t>(value) >> (8 * i)) & 0xff));
}

std::size_t bytesPerSample(int bits) { return (static_cast<std::size_t>(bits) + 7) / 8; }

/// Little-endian, with sign.
std::string rawBytes(const Pcm& pcm)
{
    std::string bytes;
    bytes.reserve(pcm.samples.size() * bytesPerSample(pcm.bits));
    for (const std::int32_t sample : pcm.samples) {
        for (std::size_t i = 0; i < bytesPerSample(pcm.bits); ++i)
            bytes.push_back(static_cast<char>((static_cast<std::uint32_t>(sample) >> (8 * i)) & 0xffU));
    }
    return bytes;
}

std::vector<std::int32_t> samplesOf(const std::string& bytes, int bits)
{
    const std::size_t size = bytesPerSample(bits);
    std::vector<std::int32_t> samples(bytes.size() / size);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        std::uint32_t value = 0;
        for (std::size_t byte = 0; byte < size; ++byte)
            value |= std::uint32_t{static_cast<std::uint8_t>(bytes[i * size + byte])} << (8 * byte);
        const auto unused = static_cast<unsigned>(32 - 8 * size);
        samples[i] = static_cast<std::int32_t>(value << unused) >> unused;
    }
    return samples;
}

std::vector<std::string> flacArguments(const Pcm& pcm, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = {"--silent",
                                          "--force",
                                          "--force-raw-format",
                                          "--endian=little",
                                          "--sign=signed",
                                          "--channels=" + std::to_string(pcm.channels),
                                          "--bps=" + std::to_string(pcm.bits),
                                          "--sample-rate=" + std::to_string(pcm.sampleRate)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return arguments;
}

}  // namespace

std::string runProgram(const std::string& program, const std::vector<std::string>& arguments,
                       const std::string& input)
{
    QStringList all;
    for (const std::string& argument : arguments)
        all << QString::fromStdString(argument);
    QProcess process;
    process.start(QString::fromStdString(program), all);
    if (!process.waitForStarted())
        throw std::runtime_error("this test needs the program " + program +
                                 ", which does not start; scripts/setup.sh installs it");
    process.write(input.data(), static_cast<qint64>(input.size()));
    process.closeWriteChannel();
    if (!process.waitForFinished(kPatienceMilliseconds) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0)
        throw std::runtime_error(program + " " + all.join(QLatin1Char(' ')).toStdString() + ": " +
                                 process.readAllStandardError().toStdString());
    return process.readAllStandardOutput().toStdString();
}

std::string runFfmpeg(const std::vector<std::string>& arguments)
{
    std::vector<std::string> all = {"-y", "-nostdin", "-v", "error"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return runProgram("ffmpeg", all);
}

void makeAudioFile(const std::string& path, double seconds, int sampleRate, int channels,
                   const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = {"-f", "lavfi", "-i",
                                          "aevalsrc=" + testSound(channels) + ":s=" +
                                              std::to_string(sampleRate) + ":d=" + std::to_string(seconds)};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.push_back(path);
    runFfmpeg(arguments);
}

std::vector<float> plainDecode(const std::string& path)
{
    const std::string bytes = runFfmpeg({"-i", path, "-map", "0:a:0", "-f", "f32le", "-"});
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

void writeFloatWav(const std::string& path, const std::vector<float>& samples, std::uint32_t sampleRate,
                   std::uint16_t channels)
{
    const auto dataBytes = static_cast<std::uint32_t>(samples.size() * sizeof(float));
    const auto frameBytes = static_cast<std::uint16_t>(channels * sizeof(float));
    std::string bytes = "RIFF";
    append(bytes, 36 + dataBytes);
    bytes += "WAVEfmt ";
    append(bytes, std::uint32_t{16});
    append(bytes, std::uint16_t{3});  // IEEE float
    append(bytes, channels);
    append(bytes, sampleRate);
    append(bytes, sampleRate * frameBytes);
    append(bytes, frameBytes);
    append(bytes, std::uint16_t{32});
    bytes += "data";
    append(bytes, dataBytes);
    bytes.append(reinterpret_cast<const char*>(samples.data()), dataBytes);
    writeWholeFile(path, bytes);
}

Pcm testPcm(std::size_t frames, int sampleRate, int channels, int bits)
{
    Pcm pcm{sampleRate, channels, bits, {}};
    pcm.samples.reserve(frames * static_cast<std::size_t>(channels));
    const double fullScale = std::ldexp(1.0, bits - 1) - 1.0;
    std::mt19937 random(5);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const double seconds = static_cast<double>(frame) / sampleRate;
        for (int channel = 0; channel < channels; ++channel) {
            const double chirp =
                std::sin(2.0 * M_PI * (200 + 100 * channel) * seconds * (1.0 + 0.2 * seconds));
            const double noise = static_cast<double>(random()) / 4294967296.0 - 0.5;
            pcm.samples.push_back(static_cast<std::int32_t>(fullScale * (0.4 * chirp + 0.1 * noise)));
        }
    }
    const auto most = static_cast<std::int32_t>(fullScale);
    if (pcm.samples.size() >= 2) {
        pcm.samples[0] = most;
        pcm.samples[1] = -most - 1;
    }
    return pcm;
}

void encodeFlac(const std::string& path, const Pcm& pcm, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = flacArguments(pcm, options);
    if (path.ends_with(".oga"))
        arguments.emplace_back("--ogg");
    arguments.insert(arguments.end(), {"-o", path, "-"});
    runProgram("flac", arguments, rawBytes(pcm));
}

std::string encodeFlacThroughPipe(const Pcm& pcm, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = flacArguments(pcm, options);
    arguments.insert(arguments.end(), {"--stdout", "-"});
    return runProgram("flac", arguments, rawBytes(pcm));
}

void encodeVorbis(const std::string& path, const Pcm& pcm, const std::vector<std::string>& options)
{
    std::vector<std::string> arguments = {"--quiet",
                                          "--raw",
                                          "--raw-bits=16",
                                          "--raw-chan=" + std::to_string(pcm.channels),
                                          "--raw-rate=" + std::to_string(pcm.sampleRate),
                                          "--serial=7"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"-o", path, "-"});
    runProgram("oggenc", arguments, rawBytes(pcm));
}

std::vector<std::int32_t> decodeFlac(const std::string& path, int bits)
{
    std::vector<std::string> arguments = {
        "--decode", "--silent", "--stdout", "--force-raw-format", "--endian=little", "--sign=signed", path};
    if (path.ends_with(".oga"))
        arguments.insert(arguments.begin(), "--ogg");
    return samplesOf(runProgram("flac", arguments), bits);
}

std::vector<std::int32_t> decodeVorbis(const std::string& path)
{
    return samplesOf(runProgram("oggdec", {"--quiet", "--raw", "--bits=16", "--endianness=0", "--sign=1",
                                           "-o", "-", path}),
                     16);
}

std::string readWholeFile(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeWholeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream stream(path, std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!stream)
        throw std::runtime_error("cannot write " + path);
}

}  // namespace testsupport
