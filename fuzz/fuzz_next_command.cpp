#include "app/protocol/eboOfflineAnalysisProtocol.h"

#include <QBuffer>
#include <QLoggingCategory>

#include <cstdint>

/// Any bytes from the host: every command that nextCommand makes of them, and progress in every step.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool isQuiet = [] {
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
        return true;
    }();
    Q_UNUSED(isQuiet);

    QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QBuffer wire(&bytes);
    wire.open(QIODevice::ReadOnly);
    for (qint64 before = wire.bytesAvailable();; before = wire.bytesAvailable()) {
        const auto [id, payload] = eboOfflineAnalysisProtocol::nextCommand(&wire);
        const qint64 consumed = before - wire.bytesAvailable();
        if (id != 0 && consumed != 24 + payload.size())
            __builtin_trap();
        if (consumed == 0)
            break;
    }
    return 0;
}
