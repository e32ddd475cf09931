#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// One message of the worker.
struct Message {
    std::uint32_t id = 0;
    QByteArray payload;
};

/// A host that starts the real worker and speaks the control protocol with it, call by call. Waits are for
/// events, with a limit that only a hanging worker reaches.
class TestHost {
public:
    static constexpr int kHangMilliseconds = 60000;

    TestHost();
    ~TestHost();

    /// Starts the worker and takes its connection.
    /// @param environment        "NAME=value" entries for the worker
    /// @param mayReadEverything  false takes that right of root's from it, if we are root
    void startWorker(const QStringList& environment = {}, bool mayReadEverything = true);

    /// The bytes of a command.
    [[nodiscard]] static QByteArray frame(std::uint32_t id, const QByteArray& payload = {});

    void send(std::uint32_t id, const QByteArray& payload = {});
    void sendBytes(const QByteArray& bytes);

    /// Sends unknown commands until the worker says something.
    void nudge();

    /// A start command with the usual preferences. The path is given as bytes, in UTF-8 or not.
    void start(const QByteArray& path);
    static QByteArray startPayload(const QByteArray& path, std::int32_t minimumBpm = 58,
                                   bool detectKey = true);

    /// The next message; none when the worker closes the connection first.
    std::optional<Message> next();

    /// All messages up to and with the one that ends the run (9, 10 or 11).
    std::vector<Message> untilEnd();

    /// start and untilEnd in one.
    std::vector<Message> run(const QByteArray& path);

    void closeConnection();

    /// Waits for the worker to end; its exit status, or nothing if it crashed or hangs.
    std::optional<int> exitStatus();

    [[nodiscard]] qint64 workerPid() const;

    /// All that the worker has written to standard error so far.
    [[nodiscard]] const QByteArray& workerErrorOutput();

    /// Waits until that contains a text. False if the worker ends, or hangs, without it.
    [[nodiscard]] bool waitForErrorOutput(const char* text);

    /// Before the worker starts: what it sends and the host does not read soon finds no room.
    void takeInLittle();

private:
    QTcpServer server_;
    std::unique_ptr<QProcess> process_;
    std::unique_ptr<QTcpSocket> socket_;
    QByteArray errorOutput_;
};

/// The ids of messages, in order.
std::vector<std::uint32_t> ids(const std::vector<Message>& messages);

/// Runs the worker with these arguments, without any host; its exit status.
std::optional<int> runWorkerAlone(const QStringList& arguments);
