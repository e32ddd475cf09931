#pragma once

#include <QtGlobal>

/// The numbers of the control protocol. 0 is never on the wire: it means that no frame is there.
namespace eboOfflineAnalysisProtocol {

/// Commands of the host.
enum CommandId : quint32 {
    kStart = 1,  ///< 12 bytes of AnalysisPreferences, then the track's path in UTF-8.
    kStop = 2,   ///< Payload not looked at.
    kQuit = 12,  ///< Payload not looked at.
};

/// Messages of the worker.
enum MessageId : quint32 {
    kProgress = 3,  ///< float, little-endian, 0 to 1.
    kBeatDataChunk = 4,
    kTrackDataChunk = 5,
    kOverviewWaveChunk = 6,
    kHighResolutionWaveChunk = 7,
    kStarted = 8,    ///< Empty.
    kStopped = 9,    ///< Empty.
    kFinished = 10,  ///< double, little-endian: beats per minute.
    kError = 11,     ///< UTF-8 text, always empty.
};

}  // namespace eboOfflineAnalysisProtocol
