#include "network/nfs/Message.h"
#include "network/nfs/eboNfs.h"
#include "network/nfs/messageStream.h"
#include "runtime/GarbageCollection.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QTemporaryDir>
#include <QThread>

#include <cstdint>
#include <fstream>
#include <memory>

/// Another device that says anything at all, to both ends of a conversation: what this device serves of a
/// small folder, for writing too, and what it has open over there. What would be fatal by design is left out.

namespace {

class QuietNetwork : public eboNetworkExchange::AbstractNetwork {
public:
    void start() override {}
    [[nodiscard]] quint16 directoryPort() const override { return 0; }
    [[nodiscard]] ebo::weakptr<eboDiscoverer::AbstractDiscoverer> discoverer() const override { return {}; }
    [[nodiscard]] QList<ebo::refptr<eboNetworkExchange::Host>> hosts() const override { return {}; }
    [[nodiscard]] QThread* networkThread() const override { return QThread::currentThread(); }
};

/// What there is for the whole life of the process.
struct World {
    World()
    {
        collector.start();
        nfs = eboNfs::create(ebo::makeRef<QuietNetwork>(), factory);
        discovered =
            ebo::makeRef<eboDiscoverer::Host>(QUuid::createUuid(), QStringLiteral("peer"), quint16{1},
                                              QStringLiteral("1"), QStringLiteral("Fuzzer"));
        host = ebo::makeRef<eboNetworkExchange::Host>(discovered, QUuid::createUuid(), calls);
        host->setConnected(true);
        host->findOrMakeService(eboNfsHost::serviceId(), 0);
        const QString root = folder.path();
        std::ofstream((root + QStringLiteral("/a")).toStdString()) << std::string(10000, 'a');
        nfs->rootDirectory()->setPolicy({.confined = true, .readOnly = false, .plainNames = true});
        nfs->rootDirectory()->mountDirectory(QUrl::fromLocalFile(root), QStringLiteral("M"), 1 << 20);
    }

    static int argc;
    static char* argv[];

    QCoreApplication application{argc, argv};
    ebo::GarbageCollection collector;
    QTemporaryDir folder;
    ebo::refptr<eboFileFactory> factory = ebo::makeRef<eboFileFactory>();
    std::shared_ptr<eboNetworkExchange::ThreadCalls> calls =
        std::make_shared<eboNetworkExchange::ThreadCalls>();
    ebo::refptr<eboNfs> nfs;
    ebo::refptr<eboDiscoverer::Host> discovered;
    ebo::refptr<eboNetworkExchange::Host> host;
};

int World::argc = 1;
char programName[] = "fuzz";
char* World::argv[] = {programName, nullptr};

/// What a sync of it would end the process for.
bool isFatal(const eboNfsMessages::Message& message)
{
    return message.type == eboNfsMessages::eFileWriteRequest &&
           (message.offset < 0 || message.offset % eboNfsMessages::kBlockSize != 0 ||
            message.offset > (1 << 24));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static World world;
    static const QtMessageHandler quiet = [](QtMsgType type, const QMessageLogContext&, const QString&) {
        if (type == QtFatalMsg)
            __builtin_trap();
    };
    qInstallMessageHandler(quiet);

    eboNfs& nfs = *world.nfs;
    nfs.onHostAdded(world.host);
    ebo::refptr<eboNfsHost> peer;
    if (!nfs.findHost(QUrl(QStringLiteral("net://") + world.host->uuid().toString(QUuid::WithoutBraces)),
                      peer))
        __builtin_trap();
    const auto file = nfs.getFile(QUrl(peer->rootUrl().toString() + QStringLiteral("/x")), false);
    const auto info = nfs.getInfo(QUrl(peer->rootUrl().toString() + QStringLiteral("/y")));

    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer packet(&bytes);
    packet.open(QIODevice::ReadOnly);
    while (!packet.atEnd()) {
        auto message = eboNfsMessages::readMessage(&packet);
        if (message.type == eboNfsMessages::kInvalid || isFatal(message))
            continue;
        // Truncations far beyond what is there would only fill the disk.
        message.newSize = std::min<std::int64_t>(message.newSize, 1 << 20);
        if (eboNfsMessages::isAnswer(message.type) && message.objectId % 2 == 0)
            message.objectId = file->objectId();
        else if (eboNfsMessages::isAnswer(message.type))
            message.objectId = info->objectId();
        nfs.onMessageReceived(peer.get(), message);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    nfs.onHostRemoved(world.host);
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
