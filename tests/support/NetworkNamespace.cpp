#include "support/NetworkNamespace.h"

#include "support/eventually.h"

#include <QProcess>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <thread>
#include <unistd.h>

namespace testsupport {
namespace {

constexpr const char* kOwnNamespace = "/proc/thread-self/ns/net";

int openOwn() { return open(kOwnNamespace, O_RDONLY | O_CLOEXEC); }

/// A descriptor of a new namespace; the thread that made it has gone. Negative with errno on failure.
int makeNamespace()
{
    int descriptor = -1;
    int error = 0;
    std::thread maker([&] {
        if (unshare(CLONE_NEWNET) == 0)
            descriptor = openOwn();
        error = errno;
    });
    maker.join();
    errno = error;
    return descriptor;
}

[[noreturn]] void fail(const std::string& what) { throw std::runtime_error(what); }

}  // namespace

std::string NetworkNamespace::whyImpossible()
{
    return whyFails({QStringLiteral("ip link add one type veth peer name other"),
                     QStringLiteral("ip link add bridge type bridge")});
}

std::string NetworkNamespace::whyFails(const QStringList& commands)
{
    try {
        const NetworkNamespace probe;
        for (const QString& command : commands)
            probe.run(command);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return {};
}

NetworkNamespace::NetworkNamespace() : descriptor_(makeNamespace())
{
    if (descriptor_ < 0)
        fail(std::string("no network namespace: ") + std::strerror(errno));
    run(QStringLiteral("ip link set lo up"));
}

NetworkNamespace::~NetworkNamespace() { close(descriptor_); }

NetworkNamespace::Visit::Visit(const NetworkNamespace& place) : home_(openOwn())
{
    if (home_ < 0 || setns(place.descriptor_, CLONE_NEWNET) != 0)
        fail(std::string("cannot enter a network namespace: ") + std::strerror(errno));
}

NetworkNamespace::Visit::~Visit()
{
    // A thread in the wrong network would make every later result a lie.
    if (setns(home_, CLONE_NEWNET) != 0)
        std::terminate();
    close(home_);
}

QString NetworkNamespace::run(const QString& command) const
{
    QStringList words = command.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    const QString program = words.takeFirst();
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    {
        const Visit visit(*this);
        process.start(program, words);
    }
    const bool ended = process.waitForFinished();
    const QString output = QString::fromUtf8(process.readAll());
    if (!ended || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        fail((command + QStringLiteral(": ") + output + process.errorString()).toStdString());
    return output;
}

QString NetworkNamespace::path() const
{
    return QStringLiteral("/proc/%1/fd/%2").arg(getpid()).arg(descriptor_);
}

NetworkSwitch::NetworkSwitch()
{
    namespace_.run(QStringLiteral("ip link add bridge type bridge forward_delay 0 stp_state 0"));
    namespace_.run(QStringLiteral("ip link set bridge up"));
}

void NetworkSwitch::plug(const NetworkNamespace& place, const QString& interface,
                         const QStringList& addresses)
{
    const QString port = QStringLiteral("port%1").arg(ports_++);
    namespace_.run(
        QStringLiteral("ip link add %1 type veth peer name %2 netns %3").arg(port, interface, place.path()));
    namespace_.run(QStringLiteral("ip link set %1 master bridge up").arg(port));
    // Without this, each interface would make itself an IPv6 address that cannot be used for a second.
    place.run(QStringLiteral("ip link set %1 addrgenmode none").arg(interface));
    for (const QString& address : addresses) {
        const bool isIPv6 = address.contains(QLatin1Char(':'));
        place.run(QStringLiteral("ip addr add %1 dev %2%3")
                      .arg(address, interface, isIPv6 ? QStringLiteral(" nodad") : QString()));
    }
    place.run(QStringLiteral("ip link set %1 up").arg(interface));
    // The kernel looks at new links in its own time, up to a second; until then what is sent gets lost.
    const bool isThrough = eventually([&] {
        const QString state = QStringLiteral("ip -details link show %1");
        return namespace_.run(state.arg(port)).contains(QStringLiteral("state forwarding")) &&
               place.run(state.arg(interface)).contains(QStringLiteral("state UP"));
    });
    if (!isThrough)
        fail("a link does not come up");
}

}  // namespace testsupport
