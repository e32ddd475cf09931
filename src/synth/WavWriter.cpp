#include "synth/WavWriter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>
#include <vector>

namespace synth {
namespace {

constexpr std::uint64_t kMaximumDataBytes = 0xFFFFFF00U;  // leaves room for the header in the 32-bit size

void append(std::string& bytes, std::uint32_t value, int size)
{
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFFU));
}

unsigned bytesPerSample(SampleFormat format) { return format == SampleFormat::kPcm16 ? 2 : 4; }

std::uint32_t pcm16(float sample)
{
    const float clipped = std::clamp(std::isnan(sample) ? 0.0f : sample, -1.0f, 1.0f);
    return static_cast<std::uint32_t>(std::lround(clipped * 32767.0f));
}

}  // namespace

WavWriter::WavWriter(const std::string& path, unsigned channels, unsigned sampleRate, SampleFormat format)
    : file_(path, std::ios::binary | std::ios::trunc), channels_(channels), sampleRate_(sampleRate),
      format_(format), good_(file_.is_open())
{
    writeHeader();
}

WavWriter::~WavWriter() { close(); }

void WavWriter::writeHeader()
{
    constexpr std::uint32_t kPcmTag = 1;
    constexpr std::uint32_t kFloatTag = 3;
    const unsigned frameBytes = channels_ * bytesPerSample(format_);
    const auto dataBytes = static_cast<std::uint32_t>(dataBytes_);

    std::string chunks("WAVEfmt ");
    append(chunks, 16, 4);
    append(chunks, format_ == SampleFormat::kPcm16 ? kPcmTag : kFloatTag, 2);
    append(chunks, channels_, 2);
    append(chunks, sampleRate_, 4);
    append(chunks, sampleRate_ * frameBytes, 4);
    append(chunks, frameBytes, 2);
    append(chunks, 8 * bytesPerSample(format_), 2);
    if (format_ == SampleFormat::kFloat32) {  // formats other than PCM state their length in frames
        chunks += "fact";
        append(chunks, 4, 4);
        append(chunks, frameBytes > 0 ? dataBytes / frameBytes : 0, 4);
    }
    chunks += "data";
    append(chunks, dataBytes, 4);

    std::string header("RIFF");
    append(header, static_cast<std::uint32_t>(chunks.size()) + dataBytes, 4);
    header += chunks;
    file_.write(header.data(), static_cast<std::streamsize>(header.size()));
}

bool WavWriter::write(std::span<const float> interleaved)
{
    const unsigned sampleBytes = bytesPerSample(format_);
    if (!good_ || dataBytes_ + interleaved.size() * sampleBytes > kMaximumDataBytes)
        return false;
    std::string bytes;
    bytes.reserve(interleaved.size() * sampleBytes);
    for (const float sample : interleaved) {
        if (format_ == SampleFormat::kPcm16)
            append(bytes, pcm16(sample), 2);
        else
            append(bytes, std::bit_cast<std::uint32_t>(sample), 4);
    }
    file_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    dataBytes_ += bytes.size();
    good_ = file_.good();
    return good_;
}

bool WavWriter::close()
{
    if (file_.is_open()) {
        file_.seekp(0);
        writeHeader();
        file_.close();
        good_ = good_ && !file_.fail();
    }
    return good_;
}

bool writeWav(const std::string& path, std::span<const float> interleaved, unsigned channels,
              unsigned sampleRate, SampleFormat format)
{
    WavWriter writer(path, channels, sampleRate, format);
    const bool written = writer.write(interleaved);
    return writer.close() && written;
}

}  // namespace synth
