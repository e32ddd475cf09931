#include "runtime/prepareProcess.h"

#include <QNetworkProxy>

#include <sys/resource.h>

namespace ebo {

void prepareProcess()
{
    QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
    rlimit files{};
    if (::getrlimit(RLIMIT_NOFILE, &files) != 0)
        return;
    files.rlim_cur = files.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &files);
}

}  // namespace ebo
