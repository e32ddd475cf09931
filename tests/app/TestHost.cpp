#include "app/TestHost.h"

#include "app/protocol/eboOfflineAnalysisProtocol.h"
#include "app/protocol/messageIds.h"

#include <QBuffer>
#include <QtEndian>

#include <gtest/gtest.h>

#include <unistd.h>

#include <sys/socket.h>

using namespace eboOfflineAnalysisProtocol;

namespace {

bool endsRun(std::uint32_t id) { return id == kStopped || id == kFinished || id == kError; }

}  // namespace

TestHost::TestHost()
{
    if (!server_.listen(QHostAddress::LocalHost))
        ADD_FAILURE() << "cannot listen: " << server_.errorString().toStdString();
}

TestHost::~TestHost()
{
    if (process_ && process_->state() != QProcess::NotRunning) {
        process_->kill();
        process_->waitForFinished();
    }
}

void TestHost::startWorker(const QStringList& environment, bool mayReadEverything)
{
    process_ = std::make_unique<QProcess>();
    process_->setEnvironment(QProcess::systemEnvironment() + environment);
    process_->setProcessChannelMode(QProcess::SeparateChannels);
    QStringList command{QStringLiteral(TUNESIFT_WORKER), QString::number(server_.serverPort())};
    if (!mayReadEverything && ::geteuid() == 0)
        command = QStringList{QStringLiteral("setpriv"),
                              QStringLiteral("--bounding-set=-dac_override,-dac_read_search")} +
                  command;
    process_->start(command.takeFirst(), command);
    ASSERT_TRUE(process_->waitForStarted()) << process_->errorString().toStdString();
    ASSERT_TRUE(server_.waitForNewConnection(kHangMilliseconds)) << "the worker does not connect";
    socket_.reset(server_.nextPendingConnection());
    socket_->setParent(nullptr);
}

QByteArray TestHost::frame(std::uint32_t id, const QByteArray& payload)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    sendMessage(&buffer, 0, id, payload);
    return buffer.data();
}

void TestHost::send(std::uint32_t id, const QByteArray& payload)
{
    sendMessage(socket_.get(), 0, id, payload);
    socket_->flush();
}

void TestHost::sendBytes(const QByteArray& bytes)
{
    socket_->write(bytes);
    socket_->flush();
}

void TestHost::nudge()
{
    constexpr int kMilliseconds = 10;
    constexpr std::uint32_t kUnknownCommand = 4711;
    for (int waited = 0; waited < kHangMilliseconds && !socket_->waitForReadyRead(kMilliseconds);
         waited += kMilliseconds)
        send(kUnknownCommand);
}

QByteArray TestHost::startPayload(const QByteArray& path, std::int32_t minimumBpm, bool detectKey)
{
    QByteArray record(12, '\0');
    qToLittleEndian(minimumBpm, record.data());
    qToLittleEndian(std::int32_t{195}, record.data() + 4);
    record[8] = detectKey ? 1 : 0;
    record[9] = 1;
    record[10] = 1;
    return record + path;
}

void TestHost::start(const QByteArray& path) { send(kStart, startPayload(path)); }

std::optional<Message> TestHost::next()
{
    while (true) {
        auto [id, payload] = nextCommand(socket_.get());
        if (id != 0)
            return Message{id, payload};
        if (!socket_->waitForReadyRead(kHangMilliseconds)) {
            EXPECT_NE(socket_->error(), QAbstractSocket::SocketTimeoutError) << "the worker hangs";
            return std::nullopt;
        }
    }
}

std::vector<Message> TestHost::untilEnd()
{
    std::vector<Message> messages;
    while (auto message = next()) {
        messages.push_back(*message);
        if (endsRun(message->id))
            return messages;
    }
    ADD_FAILURE() << "the connection ended in the middle of a run after " << messages.size() << " messages; "
                  << workerErrorOutput().toStdString();
    return messages;
}

std::vector<Message> TestHost::run(const QByteArray& path)
{
    start(path);
    return untilEnd();
}

void TestHost::closeConnection()
{
    socket_->disconnectFromHost();
    if (socket_->state() != QAbstractSocket::UnconnectedState)
        socket_->waitForDisconnected(kHangMilliseconds);
}

std::optional<int> TestHost::exitStatus()
{
    if (process_->state() != QProcess::NotRunning && !process_->waitForFinished(kHangMilliseconds)) {
        ADD_FAILURE() << "the worker does not end";
        return std::nullopt;
    }
    const QByteArray& errors = workerErrorOutput();
    if (process_->exitStatus() != QProcess::NormalExit) {
        ADD_FAILURE() << "the worker crashed: " << errors.toStdString();
        return std::nullopt;
    }
    if (process_->exitCode() != 0)
        ADD_FAILURE() << errors.toStdString();
    return process_->exitCode();
}

qint64 TestHost::workerPid() const { return process_->processId(); }

const QByteArray& TestHost::workerErrorOutput() { return errorOutput_ += process_->readAllStandardError(); }

bool TestHost::waitForErrorOutput(const char* text)
{
    process_->setReadChannel(QProcess::StandardError);
    while (!workerErrorOutput().contains(text)) {
        if (!process_->waitForReadyRead(kHangMilliseconds))
            return false;
    }
    return true;
}

void TestHost::takeInLittle()
{
    constexpr int kBytes = 4096;
    ::setsockopt(static_cast<int>(server_.socketDescriptor()), SOL_SOCKET, SO_RCVBUF, &kBytes,
                 sizeof(kBytes));
}

std::vector<std::uint32_t> ids(const std::vector<Message>& messages)
{
    std::vector<std::uint32_t> result(messages.size());
    std::transform(messages.begin(), messages.end(), result.begin(),
                   [](const Message& message) { return message.id; });
    return result;
}

std::optional<int> runWorkerAlone(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(TUNESIFT_WORKER), arguments);
    if (!process.waitForFinished(TestHost::kHangMilliseconds) || process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    EXPECT_EQ(process.readAllStandardOutput(), QByteArray());
    EXPECT_EQ(process.readAllStandardError(), QByteArray());
    return process.exitCode();
}
