#include "CliRun.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace clitest;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

/// A terminal without a screen: what is written to it can be read back.
class Terminal {
public:
    Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        grantpt(master_);
        unlockpt(master_);
        // So long as one is open, what was written stays to be read.
        slave_ = open(name(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    }
    ~Terminal()
    {
        close(slave_);
        close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] const char* name() const { return ptsname(master_); }

    [[nodiscard]] std::string written() const
    {
        std::array<char, 65536> bytes{};
        fcntl(master_, F_SETFL, O_NONBLOCK);
        std::string text;
        for (ssize_t size = 0; (size = read(master_, bytes.data(), bytes.size())) > 0;)
            text.append(bytes.data(), static_cast<std::size_t>(size));
        return text;
    }

private:
    int master_;
    int slave_ = -1;
};

TEST(ProgressBar, GrowsOnATerminalAndLeavesTheLineEmpty)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(QString::fromLatin1(terminal.name()));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder.track(QStringLiteral("good"))}));
    EXPECT_EQ(outcomeOf(process).status, 0);
    const std::string written = terminal.written();
    EXPECT_THAT(written, HasSubstr("\r[..............................]   0% good.wav"));
    EXPECT_THAT(written, HasSubstr("\r[#########.....................]  32% good.wav"));
    EXPECT_THAT(written, HasSubstr("\r[############################..]  96% good.wav"));
    EXPECT_THAT(written, EndsWith("\r\x1b[K"));
}

TEST(ProgressBar, IsClearedBeforeAComplaint)
{
    TrackFolder folder;
    const Terminal terminal;
    QProcess process;
    process.setStandardErrorFile(QString::fromLatin1(terminal.name()));
    process.start(QStringLiteral(TUNESIFT), withFakeWorker({folder.track(QStringLiteral("rejected"))}));
    EXPECT_EQ(outcomeOf(process).status, 1);
    EXPECT_THAT(terminal.written(), HasSubstr("\r\x1b[Ktunesift: "));
}

TEST(ProgressBar, IsNotThereWithoutATerminal)
{
    TrackFolder folder;
    EXPECT_THAT(analyze({folder.track(QStringLiteral("good"))}).errors.toStdString(), Not(HasSubstr("[")));
}

}  // namespace
