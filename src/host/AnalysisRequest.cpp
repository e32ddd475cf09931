#include "host/AnalysisRequest.h"

#include <QtEndian>

namespace tunesift::host {

QByteArray startPayload(const AnalysisRequest& request)
{
    constexpr int kPreferencesSize = 12;
    const Preferences& preferences = request.preferences;
    QByteArray payload(kPreferencesSize, '\0');
    qToLittleEndian(preferences.minimumBpm, payload.data());
    qToLittleEndian(preferences.maximumBpm, payload.data() + 4);
    payload[8] = static_cast<char>(preferences.detectKey);
    payload[9] = static_cast<char>(preferences.flagB);
    payload[10] = static_cast<char>(preferences.flagC);
    return payload + request.path.toUtf8();
}

bool isNetPath(const QString& path)
{
    return path.startsWith(QLatin1String("net://")) || path.startsWith(QLatin1String("/net:/"));
}

}  // namespace tunesift::host
