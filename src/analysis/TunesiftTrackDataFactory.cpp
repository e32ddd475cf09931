#include "analysis/TunesiftTrackDataFactory.h"

#include "analysis/TunesiftTrackData.h"

#include <utility>

TunesiftTrackDataFactory::TunesiftTrackDataFactory(ebo::refptr<eboFileFormats> formats,
                                                   RunThreads& runThreads)
    : ITrackDataFactory(std::move(formats)), runThreads_(runThreads)
{
    qRegisterMetaType<AnalysisPreferences>("AnalysisPreferences");
}

ebo::refptr<ITrackData> TunesiftTrackDataFactory::create(const QString& path)
{
    return ebo::makeRef<TunesiftTrackData>(path, formats(), runThreads_);
}
