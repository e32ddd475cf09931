#pragma once

#include <QLoggingCategory>

/// The logging categories of the system, each made at its first use with the threshold QtWarningMsg: debug
/// and info are off until logging rules turn them on. A log site asks the category first (qCDebug and its
/// like do). What has no category of its own goes to the default one.
namespace ebo::log {

const QLoggingCategory& network();  ///< Bring-up and shutdown of the network thread.
const QLoggingCategory&
networkThreadIndicator();                        ///< Its debug switch turns on the network thread's spinner.
const QLoggingCategory& networkConnection();     ///< Connection events of the directory server.
const QLoggingCategory& networkServer();         ///< Listening of the service and directory servers.
const QLoggingCategory& networkService();        ///< Life of the streams of a service.
const QLoggingCategory& packetStream();          ///< Framing and socket events of packet streams.
const QLoggingCategory& timeController();        ///< For time services; nothing logs to it yet.
const QLoggingCategory& networkHost();           ///< State and directory sockets of a host.
const QLoggingCategory& networkDirectory();      ///< Directory messages, pings, connection attempts.
const QLoggingCategory& directoryRoot();         ///< Root directory of file sharing.
const QLoggingCategory& directoryRemote();       ///< For remote directories; nothing logs to it yet.
const QLoggingCategory& fileTransfer();          ///< File sharing core.
const QLoggingCategory& fileTransferDetailed();  ///< Per-message detail of file sharing.
const QLoggingCategory& remoteFile();            ///< Remote file client.
const QLoggingCategory& processingThread();      ///< For message processing; nothing logs to it yet.
const QLoggingCategory& qtFileEngine();          ///< For a Qt file engine; nothing logs to it yet.
const QLoggingCategory& discoverer();            ///< Beacons, receiver, host registry.
const QLoggingCategory& fileStd();               ///< Local files.
const QLoggingCategory& fileCaching();           ///< Caching of remote files.
const QLoggingCategory& fileFormats();           ///< Registry of audio readers.
const QLoggingCategory& freeze();                ///< Freeze detector.

}  // namespace ebo::log
