#include "CliRun.h"
#include "support/NamespaceTest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace clitest;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

QString text(const char* ascii) { return QString::fromLatin1(ascii); }

TEST(Doctor, FindsThisMachineWell)
{
    const CliOutcome outcome = runCli({text("doctor")});
    EXPECT_EQ(outcome.status, 0) << outcome.output.toStdString();
    const std::string output = outcome.output.toStdString();
    EXPECT_THAT(output, Not(HasSubstr("BAD")));
    for (const char* line :
         {"libavcodec +59\\.", "libFLAC +1\\.", "libvorbis +Xiph", "FFT +(libavutil|pffft)",
          "ok  decoders +of all formats", "ok  temporary folder", "ok  self-test: tempo +112\\.",
          "ok  self-test: loudness +0\\.195", "ok  self-test: key +A minor"})
        EXPECT_THAT(output, ContainsRegex(line));
}

TEST(Doctor, SeesWhatIsNotAsItShouldBe)
{
    // The fake worker finds 120 beats per minute in everything.
    CliOutcome outcome = runCli({text("doctor"), text("--worker"), QStringLiteral(FAKE_WORKER)});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(),
                ContainsRegex("BAD self-test: tempo +120\\.0000, expected 112"));
    outcome = runCli({text("doctor"), text("--worker"), text("/nowhere/worker")});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(),
                ContainsRegex("BAD self-test +cannot run the worker /nowhere/worker"));
}

TEST(Doctor, SeesATemporaryFolderThatIsNone)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(text("TMPDIR"), text("/nowhere"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TUNESIFT), {text("doctor")});
    const CliOutcome outcome = outcomeOf(process);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output.toStdString(),
                ContainsRegex("BAD temporary folder +/nowhere is not writable"));
}

class DoctorOfTheNetwork : public testsupport::NamespaceTest {
protected:
    /// What it says of a network with this address.
    static std::string word(const char* address)
    {
        const testsupport::NetworkNamespace place;
        place.run(text("ip link add eth0 type veth peer name other"));
        if (*address != '\0')
            place.run(text("ip addr add ") + text(address) + text(" dev eth0 nodad"));
        place.run(text("ip link set eth0 up"));
        QProcess process;
        {
            const testsupport::NetworkNamespace::Visit visit(place);
            process.start(QStringLiteral(TUNESIFT), {text("doctor")});
        }
        const CliOutcome outcome = outcomeOf(process);
        EXPECT_EQ(outcome.status, 0) << "tracks of this machine need no network";
        return outcome.output.toStdString();
    }
};

TEST_F(DoctorOfTheNetwork, SaysWhetherOtherDevicesCanBeFound)
{
    EXPECT_THAT(word("10.0.0.1/24"), ContainsRegex("network +has IPv4, by which other devices are found"));
    EXPECT_THAT(word("fd00::1/64"), ContainsRegex("network +IPv6 only: other devices cannot be found"));
    EXPECT_THAT(word(""), ContainsRegex("network +none"));
}

}  // namespace
