#include "network/exchange/wire.h"

#include <QByteArray>

namespace exchangetest::wire {

std::string hex(const std::string& digits)
{
    return QByteArray::fromHex(QByteArray::fromStdString(digits)).toStdString();
}

QUuid uuid(const Uuid& octets) { return QUuid::fromRfc4122(QByteArray::fromStdString(uuidBytes(octets))); }

}  // namespace exchangetest::wire
