#pragma once

#include <QString>
#include <QStringList>

#include <string>

namespace testsupport {

/// A network of its own within the machine: interfaces, addresses, routes and filters that nothing outside
/// sees. It has no name in the system and ends with the last socket, thread or process in it, so that a test
/// that crashes leaves nothing behind. Needs root.
class NetworkNamespace {
public:
    /// Why none can be made here; empty if they can. For GTEST_SKIP.
    [[nodiscard]] static std::string whyImpossible();

    /// What the first of these commands that fails says, each run in a namespace made for it; empty if all
    /// work.
    [[nodiscard]] static std::string whyFails(const QStringList& commands);

    /// With nothing in it but the loopback interface, which is up. Throws std::runtime_error.
    NetworkNamespace();
    ~NetworkNamespace();
    NetworkNamespace(const NetworkNamespace&) = delete;
    NetworkNamespace& operator=(const NetworkNamespace&) = delete;

    /// Puts the calling thread into the namespace for as long as it lives: sockets that the thread makes
    /// meanwhile belong there, and so do the threads and processes that it starts.
    class Visit {
    public:
        explicit Visit(const NetworkNamespace& place);
        ~Visit();
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        int home_;
    };

    /// Runs a system command inside, as in "ip link set eth0 down". Throws std::runtime_error with what it
    /// said if it fails. @return its output
    QString run(const QString& command) const;

    /// A path by which other commands can name the namespace.
    [[nodiscard]] QString path() const;

private:
    int descriptor_ = -1;
};

/// An Ethernet switch that namespaces are plugged into.
class NetworkSwitch {
public:
    NetworkSwitch();

    /// Gives the namespace an interface of that name with these addresses, as in "10.0.0.1/24", and plugs it
    /// in. It is up when this returns. Only addresses that are named: none comes by itself.
    void plug(const NetworkNamespace& place, const QString& interface, const QStringList& addresses);

private:
    NetworkNamespace namespace_;
    int ports_ = 0;
};

}  // namespace testsupport
