#include "Mutator.h"

#include "analysis/AnalysisPreferences.h"
#include "analysis/BeatDetectionRunner.h"
#include "analysis/ITrackData.h"
#include "analysis/StopAnalysisFlag.h"
#include "file/eboFileFactory.h"
#include "formats/eboFileFormats.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/MemoryFile.h"
#include "support/TempDir.h"
#include "support/repetitions.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

// Thousands of damaged files of every format, through the registry, the readers and a whole run each: none
// may crash, hang or take much memory.

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kIsSanitized = true;
#else
constexpr bool kIsSanitized = false;
#endif

constexpr int kMostCpuSeconds = 5;  // for one file; a hundredth of it is usual
constexpr long kMostKilobytes = 200 * 1024;

std::string g_doing;  // what a signal handler can still say

/// Ends the test program with a word about it if a file takes too much processor time.
class Watchdog {
public:
    Watchdog()
    {
        std::signal(SIGPROF, [](int) {
            [[maybe_unused]] const auto written = ::write(STDERR_FILENO, g_doing.data(), g_doing.size());
            std::abort();
        });
    }
    ~Watchdog() { set(0); }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    static void set(int seconds)
    {
        const itimerval time = {{0, 0}, {seconds, 0}};
        ::setitimer(ITIMER_PROF, &time, nullptr);
    }
};

/// Has one file, in memory, whatever the path.
class MutantFactory : public eboFileFactory {
public:
    ebo::refptr<eboFile> open(const char* path, Options /*options*/) override
    {
        return ebo::makeRef<testsupport::MemoryFile>(path, bytes);
    }

    std::string bytes;
};

/// A track without a thread of its own.
class MutantTrack : public ITrackData {
public:
    using ITrackData::ITrackData;
    bool startBeatDetectionRunner(AnalysisPreferences /*preferences*/) override { return false; }
    void stopBeatDetectionRunner() override {}
    [[nodiscard]] bool isBeatDetectionRunning() const override { return false; }
};

struct Case {
    std::string extension;
    std::vector<std::string> options;  ///< Of the encoder.

    friend std::ostream& operator<<(std::ostream& stream, const Case& c) { return stream << c.extension; }
};

class Mutations : public testing::TestWithParam<Case> {
protected:
    /// The undamaged file: half a second of stereo.
    std::string original()
    {
        const testsupport::TempDir dir;
        const std::string path = dir.file("sound." + GetParam().extension);
        const testsupport::Pcm pcm = testsupport::testPcm(22050, 44100, 2, 16);
        if (GetParam().extension == "flac" || GetParam().extension == "oga")
            testsupport::encodeFlac(path, pcm, GetParam().options);
        else if (GetParam().extension == "ogg")
            testsupport::encodeVorbis(path, pcm, GetParam().options);
        else
            testsupport::makeAudioFile(path, 0.5, 44100, 2, GetParam().options);
        return testsupport::readWholeFile(path);
    }

    /// A whole run. Whether it came to an end with results.
    bool isAnalyzed(std::string bytes)
    {
        factory_->bytes = std::move(bytes);
        const QString path = QString::fromStdString("/mutant." + GetParam().extension);
        const ebo::refptr<ITrackData> track = ebo::makeRef<MutantTrack>(path, formats_);
        BeatDetectionRunner runner(track, std::make_shared<StopAnalysisFlag>());
        bool hasFinished = false;
        QObject::connect(&runner, &BeatDetectionRunner::detectionFinished,
                         [&](double) { hasFinished = true; });
        runner.process(path, AnalysisPreferences{}, 1024);
        return hasFinished;
    }

    const ebo::refptr<MutantFactory> factory_ = ebo::makeRef<MutantFactory>();
    const ebo::refptr<eboFileFormats> formats_ = ebo::makeRef<eboFileFormats>(factory_);
};

TEST_P(Mutations, NoneCrashesHangsOrTakesMuchMemory)
{
    const std::string sound = original();
    ASSERT_TRUE(isAnalyzed(sound)) << "the undamaged file";
    const Watchdog watchdog;
    const int rounds = testsupport::repetitions(2000);
    int analyzed = 0;
    std::pair<std::clock_t, int> slowest;  // processor time and round
    for (int round = 0; round < rounds; ++round) {
        const testsupport::LogCapture quiet;
        SCOPED_TRACE(round);
        std::string mutant = Mutator(static_cast<std::uint32_t>(round)).damaged(sound);
        g_doing = "the damaged " + GetParam().extension + " of round " + std::to_string(round) + " hangs\n";
        Watchdog::set(kMostCpuSeconds);
        const std::clock_t begun = std::clock();
        analyzed += isAnalyzed(std::move(mutant)) ? 1 : 0;
        slowest = std::max(slowest, std::pair(std::clock() - begun, round));
        Watchdog::set(0);
    }
    EXPECT_GT(analyzed, rounds / 20) << "most damage should be survived with results";
    EXPECT_LT(analyzed, rounds) << "some of it should be fatal";
    rusage usage = {};
    ASSERT_EQ(::getrusage(RUSAGE_SELF, &usage), 0);
    RecordProperty("analyzed", analyzed);
    RecordProperty("slowestMilliseconds", std::to_string(1000 * slowest.first / CLOCKS_PER_SEC));
    RecordProperty("slowestRound", slowest.second);
    RecordProperty("kilobytes", std::to_string(usage.ru_maxrss));
    if (!kIsSanitized) {
        EXPECT_LT(usage.ru_maxrss, kMostKilobytes);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryFormat, Mutations,
                         testing::Values(Case{"wav", {}}, Case{"aif", {}}, Case{"mp3", {}}, Case{"m4a", {}},
                                         Case{"aac", {}}, Case{"flac", {"--blocksize=1152"}},
                                         Case{"oga", {"--blocksize=1152"}}, Case{"ogg", {}}),
                         testing::PrintToStringParamName());

}  // namespace
