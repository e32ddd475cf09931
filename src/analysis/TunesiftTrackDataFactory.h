#pragma once

#include "analysis/ITrackDataFactory.h"
#include "analysis/RunThreads.h"

/// The factory of this process. Its tracks enter their threads in `runThreads`, which outlives them.
class TunesiftTrackDataFactory : public ITrackDataFactory {
    Q_OBJECT

public:
    TunesiftTrackDataFactory(ebo::refptr<eboFileFormats> formats, RunThreads& runThreads);

    [[nodiscard]] ebo::refptr<ITrackData> create(const QString& path) override;

private:
    RunThreads& runThreads_;
};
