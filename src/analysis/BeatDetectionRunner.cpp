#include "analysis/BeatDetectionRunner.h"

#include "analysis/Analysis.h"
#include "analysis/BeatDataChunk.h"
#include "analysis/TrackDataChunk.h"
#include "analysis/WaveChunk.h"
#include "analysis/keyText.h"
#include "analysis/reasonAgainst.h"
#include "formats/eboAudioFormatReader.h"
#include "runtime/EndAtOnce.h"

#include <QCoreApplication>
#include <QDebug>
#include <QElapsedTimer>
#include <QEvent>

#include <algorithm>
#include <new>
#include <utility>

namespace {

// The block loop covers the progress up to here; the rest belongs to the last stage of beat analysis.
constexpr float kBlockLoopShare = 0.96f;

// A file may announce any length and then hold next to nothing, and yet the wave of the missing rest is owed
// to the host in one piece. Beyond this many entries, some eleven hours, the announcement is not believed.
constexpr std::uint32_t kLongestFlush = 4U << 20;

/// A host that reads what we log can tell its users; the message of a failed run has no room for it.
void warnOf(const QString& reason) { qWarning().noquote() << "Cannot analyse the track: it" << reason; }

constexpr int kDefaultMinimumBpm = AnalysisPreferences{}.minimumBpm;

struct ClosesAtEnd {
    eboAudioFormatReader& reader;
    ~ClosesAtEnd() { reader.close(); }
};

/// The lower end of the tempo range if it can be searched at this rate, otherwise the default: the fold of
/// the tempo search needs a beat of at least 64 frames at the highest tempo it tries, and its tempi must
/// stay above 0.
int searchableMinimumBpm(int minimumBpm, std::uint32_t sampleRate)
{
    constexpr int kLowest = 3;
    constexpr std::int64_t kScanMargin = 3;
    constexpr std::int64_t kShortestBeat = 64;
    const std::int64_t highestTempo = 2 * std::int64_t{minimumBpm} + kScanMargin;
    if (minimumBpm >= kLowest && highestTempo * kShortestBeat <= 60 * std::int64_t{sampleRate})
        return minimumBpm;
    qWarning() << "Tempo range from" << minimumBpm << "BPM cannot be searched at" << sampleRate
               << "frames per second, taking" << kDefaultMinimumBpm;
    return kDefaultMinimumBpm;
}

}  // namespace

BeatDetectionRunner::BeatDetectionRunner(ebo::weakptr<ITrackData> track, SharedStopAnalysisFlag stopFlag)
    : stopFlag_(std::move(stopFlag)), track_(std::move(track))
{}

BeatDetectionRunner::~BeatDetectionRunner() = default;

bool BeatDetectionRunner::addProgress(float amount)
{
    if (stopFlag_->isRaised())
        return false;
    progress_ += amount;
    Q_EMIT detectionProgress(double{progress_});
    return true;
}

void BeatDetectionRunner::stopBeatDetection() { stopRequested_ = true; }

void BeatDetectionRunner::process(const QString& path, AnalysisPreferences analysisPreferences,
                                  int overviewSize)
{
    QElapsedTimer timer;
    timer.start();
    Q_EMIT detectionStarted();
    const End end = run(path, analysisPreferences, overviewSize);
    isOver_ = true;
    tell(end);
    if (end.outcome == Outcome::kComplete)
        qDebug() << "Analyzed" << path << "in" << static_cast<float>(timer.elapsed()) / 1000.0f << "seconds";
}

void BeatDetectionRunner::tell(const End& end)
{
    switch (end.outcome) {
    case Outcome::kComplete:
        Q_EMIT trackDataChunkProcessed(end.trackDataChunk);
        QCoreApplication::processEvents();
        Q_EMIT detectionFinished(end.bpm);
        break;
    case Outcome::kStopped:
        Q_EMIT detectionStopped();
        break;
    case Outcome::kUnusable:
        Q_EMIT detectionError();
        break;
    case Outcome::kTooShort:
        Q_EMIT detectionError();
        return;  // without finished: the thread stays up until RunThreads joins it
    }
    Q_EMIT finished();
}

/// The host may take an end for what it says: with a thousand short tracks after one another, what the
/// collector has not come to yet would be files and memory of hundreds.
BeatDetectionRunner::End BeatDetectionRunner::run(const QString& path,
                                                  AnalysisPreferences analysisPreferences, int overviewSize)
{
    const ebo::EndAtOnce endAtOnce;
    End end;
    try {
        end = analyze(path, analysisPreferences, overviewSize);
    } catch (const std::bad_alloc&) {
        warnOf(QStringLiteral("needs more memory than there is"));
    }
    letGo();
    return end;
}

void BeatDetectionRunner::letGo()
{
    sampleBuffer_.reset();
    if (const auto track = track_.promote())
        track->closeReader();
}

BeatDetectionRunner::End
BeatDetectionRunner::analyze(const QString& path, AnalysisPreferences analysisPreferences, int overviewSize)
{
    const auto reader = createReader();
    if (!reader) {
        if (stopFlag_->isRaised())
            return {.outcome = Outcome::kStopped};
        qWarning() << "bool BeatDetectionRunner::createReader(const QString&, "
                      "ebo::refptr<eboAudioFormatReader>&)"
                   << "Failed to create a reader for file at:" << path;
        return {.outcome = Outcome::kUnusable};
    }

    // The track may be on its way to the collector, and with it the reader that it keeps.
    const ClosesAtEnd closesAtEnd{*reader};
    const std::uint32_t length = reader->length();
    const std::uint32_t sampleRate = reader->sampleRate();
    const auto analysis = ebo::makeRef<Analysis>(
        AnalysisSetup{.sampleRate = static_cast<double>(sampleRate),
                      .sampleCount = static_cast<std::int32_t>(length),
                      .minimumBpm = searchableMinimumBpm(analysisPreferences.minimumBpm, sampleRate),
                      .detectKey = analysisPreferences.detectKey,
                      .overviewSize = static_cast<std::uint32_t>(overviewSize)});
    Q_EMIT trackDataChunkProcessed(TrackDataChunk(sampleRate, length).serialize());

    blockCount_ = ((length - 1) / kBlockSize) + 1;
    lastBlockSize_ = length - (length - 1) / kBlockSize * kBlockSize;
    if (length <= analysis->frameSize()) {
        warnOf(tooShortReason(length));
        return {.outcome = Outcome::kTooShort};
    }

    const Outcome outcome = analyzeBlocks(*reader, *analysis);
    if (outcome != Outcome::kComplete)
        return {.outcome = outcome};
    return {.outcome = outcome,
            .trackDataChunk = TrackDataChunk(reader->sampleRate(), reader->length(),
                                             analysis->loudness().peakLevel(), keyNumber(analysis->key()))
                                  .serialize(),
            .bpm = double{static_cast<float>(analysis->bpm())}};
}

ebo::refptr<eboAudioFormatReader> BeatDetectionRunner::createReader()
{
    const auto track = track_.promote();
    if (!track)
        return nullptr;
    const auto reader = ebo::dynamicCast<eboAudioFormatReader>(
        track->createReader(true, [flag = stopFlag_] { return flag->isRaised(); }));
    if (!reader)
        return nullptr;
    if (const auto reason = reasonAgainst(*reader)) {
        warnOf(*reason);
        reader->close();
        return nullptr;
    }
    return reader;
}

bool BeatDetectionRunner::stopsNow()
{
    // process occupies the thread's event loop: only here can a queued stop arrive. The dispatcher alone does
    // not see to one that was in the queue before process began; it waits for something new.
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    return stopRequested_;
}

BeatDetectionRunner::Outcome BeatDetectionRunner::analyzeBlocks(eboAudioFormatReader& reader,
                                                                Analysis& analysis)
{
    // The transient detector may look one frame far into the buffer, however short the block.
    const std::uint32_t bufferSize = std::max(kBlockSize, analysis.frameSize());
    sampleBuffer_ = boost::shared_array<float>(new float[bufferSize]());
    position_ = 0;

    bool isLast = false;
    for (std::uint32_t block = 0; !isLast; ++block) {
        isLast = block == blockCount_ - 1;
        if (stopsNow())
            return Outcome::kStopped;

        const std::uint32_t wanted = isLast ? lastBlockSize_ : kBlockSize;
        const std::uint32_t received = readBlock(reader, wanted);
        if (received < wanted && stopFlag_->isRaised())
            return Outcome::kStopped;  // the file has been told to give no more
        isLast = isLast || received < wanted;
        // Half a track must not pass for a whole one.
        if (reader.hasLostData()) {
            warnOf(QStringLiteral("could not be read beyond frame %1 of %2")
                       .arg(position_ + received)
                       .arg(reader.length()));
            return Outcome::kUnusable;
        }
        if (received < wanted && analysis.waveform().entriesMissing() > kLongestFlush) {
            warnOf(QStringLiteral("ends at frame %1 of the %2 that it announces")
                       .arg(position_ + received)
                       .arg(reader.length()));
            return Outcome::kUnusable;
        }

        analysis.process(sampleBuffer_, position_, received, isLast, this);
        emitNewChunks(analysis);
        if (stopsNow())
            return Outcome::kStopped;

        position_ += wanted;
        progress_ = static_cast<float>(block) * kBlockLoopShare / static_cast<float>(blockCount_ - 1);
        Q_EMIT detectionProgress(double{progress_});
    }
    return Outcome::kComplete;
}

std::uint32_t BeatDetectionRunner::readBlock(eboAudioFormatReader& reader, std::uint32_t wanted)
{
    const std::uint32_t received = reader.readMono(sampleBuffer_.get(), position_, wanted);
    if (received == 0)
        qWarning() << "int BeatDetectionRunner::readBlock(ebo::refptr<eboAudioFormatReader>, size_t)"
                   << "Received no samples at position" << position_;
    else if (received < wanted)
        qDebug() << "int BeatDetectionRunner::readBlock(ebo::refptr<eboAudioFormatReader>, size_t)"
                 << "Failed to read file, expected" << wanted << ", but received:" << received
                 << ", at position:" << position_;
    return received;
}

void BeatDetectionRunner::emitNewChunks(Analysis& analysis)
{
    Q_EMIT beatDataChunkProcessed(beatDataChunk(analysis.beatGrid()));

    WaveformAnalyzer& waveform = analysis.waveform();
    const QByteArray overview =
        waveChunk(waveform.overviewEntries(), waveform.overviewSize(),
                  waveform.entriesPerOverviewEntry() * waveform.framesPerEntry(), waveform.overviewMaximum());
    waveform.clearOverviewEntries();
    if (!overview.isEmpty())
        Q_EMIT overviewWaveChunkProcessed(overview);

    const QByteArray highResolution = waveChunk(waveform.highResolutionEntries(), waveform.totalEntries(),
                                                waveform.framesPerEntry(), waveform.highResolutionMaximum());
    waveform.clearHighResolutionEntries();
    if (!highResolution.isEmpty())
        Q_EMIT highResolutionWaveChunkProcessed(highResolution);
}
