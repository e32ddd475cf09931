#pragma once

#include "network/discovery/AbstractDiscoverer.h"
#include "network/exchange/NetworkExchange.h"
#include "network/exchange/ServiceDefinition.h"
#include "runtime/freeze/TimerProbe.h"
#include "runtime/refptr.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <memory>

namespace eboNetworkExchange {

/// Makes and ends on the network thread what lives there.
class NetworkThreadHelper : public QObject {
    Q_OBJECT

public:
    NetworkThreadHelper(ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer,
                        QList<ServiceDefinition> definitions);

public Q_SLOTS:
    /// Starts the servers. @return TCP port of the directory server, 0 if it could not start
    quint16 init();

    /// Ends everything that init() has made.
    void deinit();

Q_SIGNALS:
    // Those of the directory, straight from there.
    void hostAdded(ebo::refptr<eboNetworkExchange::Host> host);
    void hostRemoved(ebo::refptr<eboNetworkExchange::Host> host);
    void numberOfDirectorySocketsChanged(int numberOfDirectorySockets);

private:
    void startIndicator();
    void startProbe();

    // Kept past deinit, for as long as the thread may still delete what has been closed there.
    ebo::refptr<NetworkExchange> exchange_;
    const ebo::refptr<eboDiscoverer::AbstractDiscoverer> discoverer_;
    const QList<ServiceDefinition> definitions_;
    std::unique_ptr<QTimer> indicatorTimer_;
    std::shared_ptr<eboFreezeDetector::TimerProbe> probe_;  // null outside of init and deinit
};

}  // namespace eboNetworkExchange
