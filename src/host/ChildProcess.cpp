#include "host/ChildProcess.h"

#include <csignal>
#include <sys/resource.h>

namespace tunesift::host {

void ChildProcess::setupChildProcess()
{
    // In the child, between fork and exec: system calls only.
    // Ctrl-C reaches every process of the terminal. It is we who end our children, so that none of them looks
    // as if it had crashed.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGHUP, SIG_IGN);
    if (!kChildrenCanBeLimited || memoryLimit_ <= 0)
        return;
    // Of its own memory, not of the address space, hundreds of megabytes of which are shared libraries and
    // reserves that no page stands behind.
    const auto bytes = static_cast<rlim_t>(memoryLimit_);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_DATA, &limit);
}

}  // namespace tunesift::host
