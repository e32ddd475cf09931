#pragma once

#include "host/AnalysisRequest.h"
#include "host/TrackResult.h"
#include "host/messages.h"

#include <optional>

namespace tunesift::host {

/// Gathers the messages of one run into its result. Knows no process and no socket.
class TrackRun {
public:
    explicit TrackRun(AnalysisRequest request) : request_(std::move(request)) {}

    /// Takes the next message in whatever order they come. What stands before the first Started belongs to
    /// an earlier run and is passed over.
    /// @return whether the message belongs to this run
    bool take(const Message& message);

    /// True once the worker has begun with this track.
    [[nodiscard]] bool hasStarted() const noexcept { return started_; }

    /// True while the worker opens the track: it has begun, and has not said yet what the track is.
    [[nodiscard]] bool isOpening() const noexcept { return started_ && !info_ && !over_; }

    /// True once Finished, Stopped or Error has come. What comes after it does not count.
    [[nodiscard]] bool isOver() const noexcept { return over_; }

    [[nodiscard]] const AnalysisRequest& request() const noexcept { return request_; }

    /// The result as known now, without times. `error` wins over what the worker itself said.
    [[nodiscard]] TrackResult result(const std::optional<TrackError>& error) const;

private:
    void note(const Progress& progress) { share_ = progress.share; }
    void note(const BeatGrid& grid) { grid_ = grid; }
    void note(const TrackInfo& info);
    void note(const OverviewWave& /*wave*/) {}
    void note(const HighResolutionWave& /*wave*/) {}
    void note(const Started& /*started*/) { started_ = true; }
    void note(const Stopped& stopped);
    void note(const Finished& finished);
    void note(const Error& error);
    void note(const UnknownMessage& /*message*/) {}

    void addMusicalResults(TrackResult& result) const;

    AnalysisRequest request_;
    bool started_ = false;
    bool over_ = false;
    std::optional<TrackError> error_;
    std::optional<TrackInfo> info_;
    bool infoIsFinal_ = false;  ///< The first one has placeholders only.
    std::optional<BeatGrid> grid_;
    std::optional<double> tempo_;
    std::optional<double> share_;  ///< Of the latest progress.
};

}  // namespace tunesift::host
