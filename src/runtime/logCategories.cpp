#include "runtime/logCategories.h"

namespace ebo::log {

#define EBO_LOG_CATEGORY(accessor, name)                                                                     \
    const QLoggingCategory& accessor()                                                                       \
    {                                                                                                        \
        static const QLoggingCategory category(name, QtWarningMsg);                                          \
        return category;                                                                                     \
    }

EBO_LOG_CATEGORY(network, "ebo.network")
EBO_LOG_CATEGORY(networkThreadIndicator, "ebo.network.threadindicator")
EBO_LOG_CATEGORY(networkConnection, "ebo.network.connection")
EBO_LOG_CATEGORY(networkServer, "ebo.network.server")
EBO_LOG_CATEGORY(networkService, "ebo.network.service")
EBO_LOG_CATEGORY(packetStream, "ebo.network.service.packetstream")
EBO_LOG_CATEGORY(timeController, "ebo.network.service.timecontroller")
EBO_LOG_CATEGORY(networkHost, "ebo.network.host")
EBO_LOG_CATEGORY(networkDirectory, "ebo.network.directory")
EBO_LOG_CATEGORY(directoryRoot, "ebo.network.directory.root")
EBO_LOG_CATEGORY(directoryRemote, "ebo.network.directory.remote")
EBO_LOG_CATEGORY(fileTransfer, "ebo.network.filetransfer")
EBO_LOG_CATEGORY(fileTransferDetailed, "detailed.ebo.network.filetransfer")
EBO_LOG_CATEGORY(remoteFile, "ebo.network.filetransfer.remote.file")
EBO_LOG_CATEGORY(processingThread, "ebo.network.filetransfer.processingthread")
EBO_LOG_CATEGORY(qtFileEngine, "ebo.network.filetransfer.qtfileengine")
EBO_LOG_CATEGORY(discoverer, "ebo.discoverer")
EBO_LOG_CATEGORY(fileStd, "ebo.file.std")
EBO_LOG_CATEGORY(fileCaching, "ebo.file.caching")
EBO_LOG_CATEGORY(fileFormats, "ebo.fileformats")
EBO_LOG_CATEGORY(freeze, "ebo.freeze")

#undef EBO_LOG_CATEGORY

namespace {

// Made before main, so that no thread ever races another for a first use.
[[maybe_unused]] const bool madeAtStart = [] {
    for (const auto accessor : {network,
                                networkThreadIndicator,
                                networkConnection,
                                networkServer,
                                networkService,
                                packetStream,
                                timeController,
                                networkHost,
                                networkDirectory,
                                directoryRoot,
                                directoryRemote,
                                fileTransfer,
                                fileTransferDetailed,
                                remoteFile,
                                processingThread,
                                qtFileEngine,
                                discoverer,
                                fileStd,
                                fileCaching,
                                fileFormats})
        accessor();
    return true;
}();

}  // namespace
}  // namespace ebo::log
