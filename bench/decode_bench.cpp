// How fast a track becomes mono samples: readMono of each reader in the runner's blocks, and the opening.
// The input is made once per run by the ffmpeg program.

#include "formats/eboAudioFormatReader.h"
#include "formats/eboFileFormats.h"

#include <QString>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

constexpr std::uint32_t kBlockFrames = 16384;

/// Files of five minutes of stereo noise and tone, gone with the process.
class Tracks {
public:
    ~Tracks()
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    const std::string& path(const std::string& extension)
    {
        std::string& path = paths_[extension];
        if (path.empty()) {
            path = folder_ + "/track." + extension;
            const std::string command =
                "ffmpeg -v error -y -f lavfi -i anoisesrc=d=300:r=44100:a=0.2:c=pink:s=1 -f lavfi -i "
                "sine=d=300:r=44100 -filter_complex amerge -ac 2 -b:a 256k " +
                path;
            if (std::system(command.c_str()) != 0)
                throw std::runtime_error(
                    "the benchmark needs the ffmpeg program; scripts/setup.sh installs it");
        }
        return path;
    }

private:
    static std::string makeFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "tunesift-bench-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("cannot make a temporary folder");
        return name;
    }

    const std::string folder_ = makeFolder();
    std::map<std::string, std::string> paths_;
};

/// The path of the track, which is made at the first call.
const std::string& trackPath(const std::string& extension)
{
    static Tracks tracks;
    return tracks.path(extension);
}

ebo::refptr<eboAudioFormatReader> open(const std::string& path)
{
    static const auto formats = ebo::makeRef<eboFileFormats>(nullptr);
    return ebo::dynamicCast<eboAudioFormatReader>(formats->createReader(QString::fromStdString(path)));
}

void readMono(benchmark::State& state, const std::string& extension)
{
    const std::string path = trackPath(extension);
    std::vector<float> mono(kBlockFrames);
    std::int64_t frames = 0;
    for ([[maybe_unused]] const auto round : state) {
        const auto reader = open(path);
        std::uint32_t delivered = kBlockFrames;
        for (std::uint32_t frame = 0; delivered == kBlockFrames; frame += kBlockFrames) {
            delivered = reader->readMono(mono.data(), frame, kBlockFrames);
            frames += delivered;
        }
        benchmark::DoNotOptimize(mono.data());
    }
    state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
}

void openTrack(benchmark::State& state, const std::string& extension)
{
    const std::string path = trackPath(extension);
    for ([[maybe_unused]] const auto round : state)
        benchmark::DoNotOptimize(open(path)->length());
}

BENCHMARK_CAPTURE(readMono, mp3, "mp3")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readMono, m4a, "m4a")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readMono, wav, "wav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readMono, flac, "flac")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readMono, oga, "oga")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(readMono, ogg, "ogg")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, mp3, "mp3")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, m4a, "m4a")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, wav, "wav")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, flac, "flac")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, oga, "oga")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, ogg, "ogg")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(openTrack, aac, "aac")->Unit(benchmark::kMillisecond);  // counts its frames

}  // namespace
