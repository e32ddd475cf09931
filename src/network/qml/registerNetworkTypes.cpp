#include "network/qml/registerNetworkTypes.h"

#include "network/exchange/ServiceFilteredHostModel.h"

#include <QtQml>

namespace eboNetworkExchange {

void registerNetworkTypes()
{
    qmlRegisterType<ServiceFilteredHostModel>("Network", 1, 0, "ServiceFilteredHostModel");
}

}  // namespace eboNetworkExchange
