#pragma once

#include "host/AnalysisRequest.h"
#include "host/ChildProcess.h"
#include "host/TrackResult.h"
#include "host/WorkerSettings.h"
#include "host/messages.h"

#include <QByteArray>
#include <QObject>
#include <QTcpServer>
#include <QTimer>

#include <optional>

class QTcpSocket;

namespace tunesift::host {

/// One worker process and the connection that it makes to us. Lives on a thread with an event loop; owned by
/// an AnalysisSession. Runs and their results are the session's affair: this class starts the process,
/// carries commands and messages, and notices the end.
///
/// However it ends, the process has been reaped when `failed` is emitted and when the destructor returns.
class WorkerProcess : public QObject {
    Q_OBJECT

public:
    explicit WorkerProcess(WorkerSettings settings);

    /// Sends the quit command and waits for the end, for as long as the settings allow; kills after that.
    ~WorkerProcess() override;

    /// Listens on a loopback port of the system's choice and starts the process with it. Once only.
    void start();

    /// Ends the process at once, without a signal.
    void kill();

    /// True from `connected` until the end.
    [[nodiscard]] bool isConnected() const noexcept { return socket_ != nullptr && !ended_; }

    /// True once the worker has failed or was killed; it is of no use any more then.
    [[nodiscard]] bool hasEnded() const noexcept { return ended_; }

    /// 0 unless the process runs.
    [[nodiscard]] qint64 processId() const { return process_.processId(); }

    /// Processor time of the process so far. After its end, the last value that could be read.
    [[nodiscard]] std::optional<double> cpuSeconds();

    void sendStart(const AnalysisRequest& request);
    void sendStop();

Q_SIGNALS:
    void connected();
    void messageReceived(const tunesift::host::Message& message);

    /// The worker is of no use any more. Emitted once at most.
    void failed(const tunesift::host::TrackError& error);

private:
    void onNewConnection();
    void onReadyRead();
    void onSocketDisconnected();
    void onProcessError(QProcess::ProcessError error);
    void onProcessFinished();
    void onStandardErrorReady();
    void addReason(Message& message);

    void fail(ErrorKind kind, const QString& text);
    void failByEnd();
    void endProcess();
    [[nodiscard]] bool diedForMemory() const;
    [[nodiscard]] QString lastWords() const;

    const WorkerSettings settings_;
    QTcpServer server_;
    QTcpSocket* socket_ = nullptr;  ///< Child of server_; null until the worker has connected.
    ChildProcess process_;
    QTimer connectTimer_;
    QTimer endTimer_;  ///< From the first sign of an end until the other one must have come, too.
    QByteArray standardErrorTail_;
    std::optional<double> cpuSeconds_;
    bool ended_ = false;
};

}  // namespace tunesift::host
