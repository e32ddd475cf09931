#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

class QTcpSocket;

namespace fakeworker {

/// One run of the fake worker: the base name of the track says how it goes. Names that mean nothing special
/// give a good run.
class FakeRun {
public:
    explicit FakeRun(QTcpSocket& host) : host_(host) {}

    void run(const QString& track);

    /// After some runs the worker does not obey the quit command any more.
    [[nodiscard]] bool ignoresQuit() const noexcept { return ignoresQuit_; }

private:
    void send(quint32 id, const QByteArray& payload = QByteArray());
    void sendRaw(const QByteArray& bytes);
    void sendRunUpToTempo();
    void sendGoodRun();
    void sendWildOrder();
    void crawl();
    void eatMemory();
    void crashOnce(const QString& track);
    void waitForStop();
    [[noreturn]] void waitForTheHostToGo();

    QTcpSocket& host_;
    bool ignoresQuit_ = false;
};

}  // namespace fakeworker
