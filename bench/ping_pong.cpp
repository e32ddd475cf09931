#include <QCoreApplication>
#include <QElapsedTimer>
#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <unistd.h>

#include <sys/socket.h>

// ping_pong bare|qt serve PORT
// ping_pong bare|qt ask ADDRESS PORT ROUNDS: what a page of a remote file costs at least: 40 bytes go there,
// 4 KiB come back, one after the other. Bare sockets block; Qt's are driven by event loops. Prints
// microseconds a round.

namespace {

constexpr std::size_t kQuestion = 40;
constexpr std::size_t kAnswer = 4096;

[[noreturn]] void fail(const char* what)
{
    std::perror(what);
    std::exit(1);
}

void readAll(int socket, char* target, std::size_t size)
{
    while (size > 0) {
        const ssize_t count = ::recv(socket, target, size, 0);
        if (count <= 0)
            std::exit(0);
        target += count;
        size -= static_cast<std::size_t>(count);
    }
}

void writeAll(int socket, const char* source, std::size_t size)
{
    if (::send(socket, source, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
        fail("send");
}

void withoutDelay(int socket)
{
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

sockaddr_in addressOf(const char* host, const char* port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(std::atoi(port)));
    address.sin_addr.s_addr = ::inet_addr(host);
    return address;
}

int serveBare(const char* port)
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    const int on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in address = addressOf("0.0.0.0", port);
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener, 1) != 0)
        fail("listen");
    const int socket = ::accept(listener, nullptr, nullptr);
    withoutDelay(socket);
    std::array<char, kAnswer> bytes{};
    for (;;) {
        readAll(socket, bytes.data(), kQuestion);
        writeAll(socket, bytes.data(), kAnswer);
    }
}

void report(const QElapsedTimer& timer, int rounds)
{
    std::printf("%.2f\n", static_cast<double>(timer.nsecsElapsed()) / 1e3 / rounds);
}

int askBare(const char* host, const char* port, int rounds)
{
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = addressOf(host, port);
    if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        fail("connect");
    withoutDelay(socket);
    std::array<char, kAnswer> bytes{};
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < rounds; ++i) {
        writeAll(socket, bytes.data(), kQuestion);
        readAll(socket, bytes.data(), kAnswer);
    }
    report(timer, rounds);
    return 0;
}

int serveQt(const char* port)
{
    QTcpServer server;
    server.listen(QHostAddress::Any, static_cast<quint16>(std::atoi(port)));
    QObject::connect(&server, &QTcpServer::newConnection, [&server] {
        QTcpSocket* const socket = server.nextPendingConnection();
        socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QObject::connect(socket, &QTcpSocket::readyRead, [socket] {
            while (socket->bytesAvailable() >= static_cast<qint64>(kQuestion)) {
                socket->read(kQuestion);
                socket->write(QByteArray(kAnswer, 'x'));
            }
        });
        QObject::connect(socket, &QTcpSocket::disconnected, [] { QCoreApplication::quit(); });
    });
    return QCoreApplication::exec();
}

int askQt(const char* host, const char* port, int rounds)
{
    QTcpSocket socket;
    const QByteArray question(kQuestion, 'q');
    QElapsedTimer timer;
    int left = rounds;
    QObject::connect(&socket, &QTcpSocket::connected, [&] {
        socket.setSocketOption(QAbstractSocket::LowDelayOption, 1);
        timer.start();
        socket.write(question);
    });
    QObject::connect(&socket, &QTcpSocket::readyRead, [&] {
        if (socket.bytesAvailable() < static_cast<qint64>(kAnswer))
            return;
        socket.read(kAnswer);
        if (--left > 0) {
            socket.write(question);
            return;
        }
        report(timer, rounds);
        QCoreApplication::quit();
    });
    socket.connectToHost(QString::fromLatin1(host), static_cast<quint16>(std::atoi(port)));
    return QCoreApplication::exec();
}

}  // namespace

int main(int argc, char** argv)
{
    qputenv("QT_NO_GLIB", "1");
    const QCoreApplication application(argc, argv);
    const bool bare = argc > 1 && std::strcmp(argv[1], "bare") == 0;
    if (argc == 4 && std::strcmp(argv[2], "serve") == 0)
        return bare ? serveBare(argv[3]) : serveQt(argv[3]);
    if (argc == 6 && std::strcmp(argv[2], "ask") == 0)
        return bare ? askBare(argv[3], argv[4], std::atoi(argv[5]))
                    : askQt(argv[3], argv[4], std::atoi(argv[5]));
    std::fputs("usage: ping_pong bare|qt serve PORT | ping_pong bare|qt ask ADDRESS PORT ROUNDS\n", stderr);
    return 2;
}
