#include "network/peer/BeaconSocket.h"
#include "network/world/WorldTest.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace world;
using testing::ContainsRegex;
using testing::HasSubstr;

/// A terminal, seen from where its user sits.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
    {
        grantpt(master_);
        unlockpt(master_);
        // Held open, so that the terminal is there before and after the process is.
        slave_ = open(ptsname(master_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }

    ~Terminal()
    {
        close(slave_);
        close(master_);
    }

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] QString path() const { return QString::fromLocal8Bit(ptsname(master_)); }

    /// Everything that has been written on it so far.
    [[nodiscard]] const std::string& text()
    {
        std::string part(4096, '\0');
        ssize_t size = 0;
        while ((size = read(master_, part.data(), part.size())) > 0)
            text_.append(part, 0, static_cast<std::size_t>(size));
        return text_;
    }

private:
    int master_;
    int slave_;
    std::string text_;
};

class Watch : public WorldTest {};

TEST_F(Watch, KeepsATableOnTheTerminal)
{
    NetworkSwitch wire;
    NetworkNamespace a;
    NetworkNamespace b;
    wire.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
    wire.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.2/24")});
    Terminal terminal;
    QProcess process;
    process.setStandardOutputFile(terminal.path());
    {
        const NetworkNamespace::Visit visit(a);
        process.start(QStringLiteral(TUNESIFT), {QStringLiteral("devices"), QStringLiteral("--watch")});
    }
    const auto shows = [&](const std::string& text) {
        QTimer look;
        look.start(10);
        return until([&] { return terminal.text().find(text) != std::string::npos; });
    };
    const std::string clear = "\x1b[H\x1b[J";
    ASSERT_TRUE(shows(clear + "No other device yet.")) << terminal.text();
    const peer::BeaconSocket mouth(b, "10.0.0.2");
    mouth.send(peer::beacon({.uuid = peer::kHighestUuid}));
    ASSERT_TRUE(shows(peer::written(peer::kHighestUuid)));
    EXPECT_THAT(terminal.text(),
                HasSubstr(clear + "NAME  APPLICATION  ADDRESSES  ROUND TRIP  SERVICES  SHARES  UUID\r\n"
                                  "fake  Other 9.9    10.0.0.2   -           -         -       ffffffff-"));
    mouth.send(peer::beacon({.uuid = peer::kHighestUuid, .message = "DISCOVERER_EXIT_"}));
    const auto emptyAgain = [&] {
        const std::string& text = terminal.text();
        return text.rfind("No other device yet.") > text.find("NAME");
    };
    QTimer look;
    look.start(10);
    EXPECT_TRUE(until(emptyAgain)) << terminal.text();
    process.terminate();
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 128 + SIGTERM);
}

TEST_F(Watch, PrintsLinesWithoutATerminal)
{
    NetworkSwitch wire;
    NetworkNamespace a;
    NetworkNamespace b;
    wire.plug(a, QStringLiteral("eth0"), {QStringLiteral("10.0.0.1/24")});
    wire.plug(b, QStringLiteral("eth0"), {QStringLiteral("10.0.0.2/24")});
    const DeviceProcess other(b);
    QProcess process;
    {
        const NetworkNamespace::Visit visit(a);
        process.start(QStringLiteral(TUNESIFT), {QStringLiteral("devices"), QStringLiteral("--watch")});
    }
    QString output;
    EXPECT_TRUE(until([&] {
        output += QString::fromUtf8(process.readAllStandardOutput());
        return output.contains(QStringLiteral("~  ")) && output.contains(QStringLiteral("  FileTransfer  "));
    }));
    const std::string name = "  Tunesift 1.0.0  10.0.0.2  -  ";
    EXPECT_THAT(output.toStdString(), HasSubstr(name));
    EXPECT_THAT(output.toStdString(), ContainsRegex("^\\+  "));
    process.kill();
    process.waitForFinished();
}

}  // namespace
