#include "host/TrackRun.h"

#include "host/decodedFrames.h"
#include "host/gridBeats.h"
#include "host/rejection.h"

#include <cmath>

namespace tunesift::host {

bool TrackRun::take(const Message& message)
{
    if (over_ || (!started_ && !std::holds_alternative<Started>(message)))
        return false;
    std::visit([this](const auto& kind) { note(kind); }, message);
    return true;
}

void TrackRun::note(const TrackInfo& info)
{
    infoIsFinal_ = info_.has_value();
    info_ = info;
}

void TrackRun::note(const Stopped& /*stopped*/)
{
    over_ = true;
    error_ = TrackError{ErrorKind::kStopped, QStringLiteral("the analysis was stopped")};
}

void TrackRun::note(const Finished& finished)
{
    over_ = true;
    tempo_ = finished.tempo;
}

void TrackRun::note(const Error& error)
{
    over_ = true;
    error_ = TrackError{rejectionKind(error.text),
                        error.text.isEmpty() ? QStringLiteral("the worker cannot read it") : error.text};
}

TrackResult TrackRun::result(const std::optional<TrackError>& error) const
{
    TrackResult result;
    result.path = request_.path;
    result.error = error ? error : error_;
    if (info_) {
        result.sampleRate = info_->sampleRate;
        result.frames = info_->length;
        const double seconds = static_cast<double>(info_->length) / info_->sampleRate;
        if (std::isfinite(seconds))
            result.seconds = seconds;
    }
    if (result.succeeded())
        addMusicalResults(result);
    return result;
}

void TrackRun::addMusicalResults(TrackResult& result) const
{
    if (tempo_ && std::isfinite(*tempo_))
        result.tempo = tempo_;
    if (info_ && infoIsFinal_) {
        if (std::isfinite(info_->loudness))
            result.loudness = info_->loudness;
        if (info_->key >= 0)
            result.key = info_->key;
    }
    if (info_ && share_)
        result.decodedFrames = decodedFrames(*share_, info_->length);
    if (info_ && grid_) {
        result.firstDownbeatFrames = beatPosition(*grid_, 0);
        if (result.firstDownbeatFrames)
            result.firstDownbeat = *result.firstDownbeatFrames / info_->sampleRate;
        result.beats = countBeatsInside(*grid_, static_cast<double>(info_->length));
    }
}

}  // namespace tunesift::host
