#pragma once

#include "host/AnalysisRequest.h"
#include "host/TrackResult.h"

namespace tunesift::host {

class AnalysisSession;

/// Analyses one track and waits for its result in an event loop of its own, which delivers the session's
/// other signals meanwhile. The worker stays with the session for the next track. On the session's thread.
[[nodiscard]] TrackResult analyzeTrack(AnalysisSession& session, const AnalysisRequest& request);

}  // namespace tunesift::host
