#include "host/analyzeTrack.h"

#include "host/AnalysisSession.h"

#include <QEventLoop>

namespace tunesift::host {

TrackResult analyzeTrack(AnalysisSession& session, const AnalysisRequest& request)
{
    QEventLoop loop;
    TrackResult result;
    QObject::connect(&session, &AnalysisSession::trackFinished, &loop, [&](const TrackResult& finished) {
        result = finished;
        loop.quit();
    });
    session.start(request);
    loop.exec();
    return result;
}

}  // namespace tunesift::host
