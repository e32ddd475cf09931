#include "cli/batch/gatherTracks.h"

#include "cli/output.h"
#include "cli/rows/pathText.h"

namespace tunesift::cli {

std::optional<TrackList> gatherTracks(const QStringList& paths, const TrackOptions& options)
{
    TrackList list;
    for (const QString& path : paths)
        list.add(bytesOfText(path));
    for (const QString& file : options.lists) {
        if (const auto problem = list.addFrom(bytesOfText(file), options.listsAreNulSeparated)) {
            complain(QStringLiteral("tunesift: cannot read the list %1: %2\n").arg(file, *problem));
            return {};
        }
    }
    for (const QByteArray& folder : list.emptyFolders())
        complain(QStringLiteral("tunesift: no tracks in the folder %1\n").arg(readablePath(folder)));
    return list;
}

}  // namespace tunesift::cli
