#include "host/WorkerProcess.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"
#include "host/parseMessage.h"
#include "host/processCpuSeconds.h"
#include "host/rejection.h"
#include "host/takeFrame.h"

#include <QHostAddress>
#include <QTcpSocket>

#include <utility>
#include <variant>

namespace tunesift::host {
namespace {

// A dying worker shows twice, as a closed connection and as an ended process, in either order. The first
// sign waits this long for the second, which usually follows at once and tells more.
constexpr std::chrono::milliseconds kSecondSignTimeout{1000};

// Enough for the last few lines; a worker that floods its log costs no more memory than this.
constexpr int kLongestStandardErrorTail = 4096;

constexpr quint32 kStreamTag = 0;

}  // namespace

WorkerProcess::WorkerProcess(WorkerSettings settings) : settings_(std::move(settings))
{
    server_.setMaxPendingConnections(1);
    connectTimer_.setSingleShot(true);
    endTimer_.setSingleShot(true);
    // Its standard output carries nothing; unread, it could fill up and block a worker that writes to it.
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.setStandardInputFile(QProcess::nullDevice());
    process_.limitMemory(settings_.memoryLimit);

    connect(&server_, &QTcpServer::newConnection, this, &WorkerProcess::onNewConnection);
    connect(&server_, &QTcpServer::acceptError, this,
            [this] { fail(ErrorKind::kCannotListen, server_.errorString()); });
    connect(&process_, &QProcess::errorOccurred, this, &WorkerProcess::onProcessError);
    connect(&process_, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this,
            &WorkerProcess::onProcessFinished);
    connect(&process_, &QProcess::readyReadStandardError, this, &WorkerProcess::onStandardErrorReady);
    connect(&connectTimer_, &QTimer::timeout, this, [this] {
        fail(ErrorKind::kNeverConnected, QStringLiteral("the worker did not connect in time") + lastWords());
    });
    connect(&endTimer_, &QTimer::timeout, this, &WorkerProcess::failByEnd);
}

WorkerProcess::~WorkerProcess()
{
    if (isConnected()) {
        eboOfflineAnalysisProtocol::sendMessage(socket_, kStreamTag, eboOfflineAnalysisProtocol::kQuit,
                                                QByteArray());
        socket_->flush();
        ended_ = true;  // what happens while it ends is of no interest any more
        process_.waitForFinished(static_cast<int>(settings_.quitTimeout.count()));
    }
    kill();
    // The socket goes with the server, after members that its last signals would touch.
    if (socket_ != nullptr)
        socket_->disconnect(this);
}

void WorkerProcess::start()
{
    if (!server_.listen(QHostAddress::LocalHost)) {
        fail(ErrorKind::kCannotListen, server_.errorString());
        return;
    }
    connectTimer_.start(settings_.connectTimeout);
    process_.start(settings_.program, {QString::number(server_.serverPort())});
}

void WorkerProcess::kill()
{
    ended_ = true;
    endProcess();
}

void WorkerProcess::endProcess()
{
    connectTimer_.stop();
    endTimer_.stop();
    server_.close();
    if (process_.state() == QProcess::NotRunning)
        return;
    (void)cpuSeconds();
    process_.kill();
    process_.waitForFinished(-1);
}

std::optional<double> WorkerProcess::cpuSeconds()
{
    if (const auto now = processCpuSeconds(process_.processId()))
        cpuSeconds_ = now;
    return cpuSeconds_;
}

void WorkerProcess::sendStart(const AnalysisRequest& request)
{
    if (!isConnected())
        return;
    onStandardErrorReady();
    standardErrorTail_.clear();  // from now on it is about this track
    eboOfflineAnalysisProtocol::sendMessage(socket_, kStreamTag, eboOfflineAnalysisProtocol::kStart,
                                            startPayload(request));
}

void WorkerProcess::sendStop()
{
    if (isConnected())
        eboOfflineAnalysisProtocol::sendMessage(socket_, kStreamTag, eboOfflineAnalysisProtocol::kStop,
                                                QByteArray());
}

void WorkerProcess::onNewConnection()
{
    if (socket_ != nullptr || ended_)
        return;
    connectTimer_.stop();
    socket_ = server_.nextPendingConnection();
    server_.close();
    socket_->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(socket_, &QTcpSocket::readyRead, this, &WorkerProcess::onReadyRead);
    connect(socket_, &QTcpSocket::disconnected, this, &WorkerProcess::onSocketDisconnected);
    Q_EMIT connected();
    onReadyRead();
}

void WorkerProcess::onReadyRead()
{
    while (!ended_) {
        const auto next = takeFrame(*socket_);
        if (std::holds_alternative<NoFrame>(next))
            return;
        const auto* frame = std::get_if<Frame>(&next);
        auto message = frame != nullptr ? parseMessage(frame->messageId, frame->payload) : std::nullopt;
        if (message) {
            addReason(*message);
            Q_EMIT messageReceived(*message);
        } else if (frame != nullptr)
            fail(ErrorKind::kBadMessage,
                 QStringLiteral("the worker sent a malformed message %1").arg(frame->messageId));
        else
            fail(ErrorKind::kBadMessage, QStringLiteral("the worker sent a damaged frame"));
    }
}

/// What the worker logged before it sent the message is in the pipe by then.
void WorkerProcess::addReason(Message& message)
{
    auto* const error = std::get_if<Error>(&message);
    if (error == nullptr || !error->text.isEmpty())
        return;
    process_.waitForReadyRead(0);
    onStandardErrorReady();
    error->text = rejectionReason(standardErrorTail_);
}

void WorkerProcess::onSocketDisconnected()
{
    onReadyRead();
    if (ended_)
        return;
    if (process_.state() == QProcess::NotRunning)
        failByEnd();
    else
        endTimer_.start(kSecondSignTimeout);
}

void WorkerProcess::onProcessError(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart)
        fail(ErrorKind::kCannotStart,
             QStringLiteral("cannot run the worker %1: %2").arg(settings_.program, process_.errorString()));
}

void WorkerProcess::onProcessFinished()
{
    if (ended_)
        return;
    // What it sent before its end may still lie in the connection, even the connection itself.
    if (socket_ == nullptr)
        server_.waitForNewConnection(0);
    if (ended_)
        return;
    if (socket_ == nullptr || socket_->state() == QAbstractSocket::UnconnectedState)
        failByEnd();
    else
        endTimer_.start(kSecondSignTimeout);
}

void WorkerProcess::onStandardErrorReady()
{
    standardErrorTail_ += process_.readAllStandardError();
    if (standardErrorTail_.size() > kLongestStandardErrorTail)
        standardErrorTail_ = standardErrorTail_.right(kLongestStandardErrorTail);
}

void WorkerProcess::failByEnd()
{
    if (process_.state() != QProcess::NotRunning)
        fail(ErrorKind::kConnectionLost, QStringLiteral("the worker closed the connection") + lastWords());
    else if (diedForMemory())
        fail(ErrorKind::kOutOfMemory, QStringLiteral("the worker needed more memory than it may have"));
    else if (process_.exitStatus() == QProcess::CrashExit)
        fail(ErrorKind::kWorkerCrashed,
             QStringLiteral("the worker was ended by signal %1").arg(process_.exitCode()) + lastWords());
    else
        fail(ErrorKind::kWorkerExited,
             QStringLiteral("the worker ended by itself with status %1").arg(process_.exitCode()) +
                 lastWords());
}

bool WorkerProcess::diedForMemory() const
{
    // What the C++ library says of an allocation that failed and that nobody was prepared for.
    return standardErrorTail_.contains("std::bad_alloc");
}

QString WorkerProcess::lastWords() const
{
    const QByteArray tail = standardErrorTail_.trimmed();
    if (tail.isEmpty())
        return {};
    return QStringLiteral("; its last words: ") +
           QString::fromUtf8(tail.mid(tail.lastIndexOf('\n') + 1)).trimmed();
}

void WorkerProcess::fail(ErrorKind kind, const QString& text)
{
    if (ended_)
        return;
    ended_ = true;
    endProcess();
    Q_EMIT failed({kind, text});
}

}  // namespace tunesift::host
