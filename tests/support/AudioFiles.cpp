#include "support/AudioFiles.h"

#include <QProcess>
#include <QStringList>

#include <cstring>
#include <fstream>
#include <iterator>
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

}  // namespace

std::string runFfmpeg(const std::vector<std::string>& arguments)
{
    QStringList all = {QStringLiteral("-y"), QStringLiteral("-nostdin"), QStringLiteral("-v"),
                       QStringLiteral("error")};
    for (const std::string& argument : arguments)
        all << QString::fromStdString(argument);
    QProcess process;
    process.start(QStringLiteral("ffmpeg"), all);
    if (!process.waitForStarted())
        throw std::runtime_error("this test makes its input with the ffmpeg program, which does not start; "
                                 "scripts/setup.sh installs it");
    if (!process.waitForFinished(kPatienceMilliseconds) || process.exitCode() != 0)
        throw std::runtime_error("ffmpeg " + all.join(QLatin1Char(' ')).toStdString() + ": " +
                                 process.readAllStandardError().toStdString());
    return process.readAllStandardOutput().toStdString();
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
