#include "host/TrackRun.h"
#include "host/parseMessage.h"
#include "host/takeFrame.h"

#include <QBuffer>
#include <QLoggingCategory>

#include <cstdint>

/// Any bytes from a worker, as the host takes them: frames off the wire, typed messages out of them, a
/// track's result out of those. The first byte chooses between a stream of frames and the payload of one
/// message of that number, so that the parsers are reached without a CRC to guess.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace tunesift::host;
    static const bool isQuiet = [] {
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
        return true;
    }();
    Q_UNUSED(isQuiet);
    if (size == 0)
        return 0;

    TrackRun run({});
    run.take(Started{});
    const quint32 kind = *data;
    const QByteArray rest(reinterpret_cast<const char*>(data + 1), static_cast<int>(size - 1));
    if (kind != 0) {
        if (const auto message = parseMessage(kind, rest))
            run.take(*message);
    } else {
        QBuffer wire;
        wire.setData(rest);
        wire.open(QIODevice::ReadOnly);
        for (qint64 before = wire.bytesAvailable() + 1; wire.bytesAvailable() < before;) {
            before = wire.bytesAvailable();
            const auto next = takeFrame(wire);
            const auto* frame = std::get_if<Frame>(&next);
            if (frame == nullptr)
                continue;
            if (const auto message = parseMessage(frame->messageId, frame->payload))
                run.take(*message);
        }
    }
    // As if all that a result is made of had come, so that a grid is reckoned with.
    run.take(TrackInfo{44100.0, 441000, 0.5, -1});
    run.take(TrackInfo{44100.0, 441000, 0.25, 1});
    run.take(Finished{120.0});
    (void)run.result({});
    return 0;
}
