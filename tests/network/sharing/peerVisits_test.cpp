// A device of another make, which shares no code with ours, as the guest of `tunesift share`: every byte of
// the conversation, what it is refused, and what it may cost.

#include "network/sharing/PeerVisitor.h"
#include "network/sharing/SharingTest.h"
#include "support/repetitions.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <random>
#include <set>

namespace {

using namespace sharing;
using peer::Bytes;
namespace nfs = peer::nfs;
namespace fs = std::filesystem;

enum Type : std::int32_t { kInfo = 1, kDirectoryContents = 3, kFileInfo = 4, kTruncateResponse = 10 };

constexpr std::int64_t kNoLimit = INT64_MAX;
constexpr std::int32_t kRootFlags = 0xFFFFF;
constexpr std::size_t kBlock = 4096;

std::u16string wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

std::string someBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = 7;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

class PeerVisits : public SharingTest, public testing::WithParamInterface<peer::Uuid> {
protected:
    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        qputenv("TZ", "UTC");
        devices_ = std::make_unique<TwoDevices>();
        testsupport::writeWholeFile(path("there"), content_);
        fs::permissions(path("there"), fs::perms(0640));
        for (int i = 0; i < kDirectories; ++i)
            fs::create_directories(path("many/dir" + std::to_string(i)));
        for (int i = 0; i < kFiles; ++i)
            testsupport::writeWholeFile(path("many/file" + std::to_string(i)), "x");
        fs::permissions(path("many"), fs::perms(0755));
        testsupport::writeWholeFile(outside_.file("secret"), "secret");
        fs::create_symlink(outside_.file("secret"), path("link"));
        fs::create_directory_symlink(outside_.path(), path("way"));
        share_ = std::make_unique<ShareProcess>(devices_->a, QString::fromStdString(devices_->folder.path()));
        visitor_ = std::make_unique<PeerVisitor>(devices_->b, "10.0.0.2", GetParam());
    }

    void TearDown() override
    {
        if (IsSkipped())
            return;
        EXPECT_EQ(testsupport::readWholeFile(path("there")), content_);
        EXPECT_EQ(testsupport::readWholeFile(outside_.file("secret")), "secret");
        // Alive, and still well-mannered.
        EXPECT_EQ(visitor_->answerTo(nfs::fileRequest(kLast, u"/Music/there")), theFile(kLast));
        visitor_.reset();
        share_->signal(SIGTERM);
        EXPECT_EQ(share_->waitForEnd(), 128 + SIGTERM) << share_->log().toStdString();
    }

    std::string path(const std::string& name) const { return devices_->folder.file(name); }

    Bytes theFile(std::uint32_t object) const
    {
        return nfs::fileInfo(object, static_cast<std::int64_t>(content_.size()), 1);
    }
    Bytes theBlock(std::uint32_t object, std::size_t block) const
    {
        return nfs::fileData(object, static_cast<std::int64_t>(block * kBlock),
                             content_.substr(block * kBlock, kBlock));
    }
    static Bytes noFile(std::uint32_t object) { return nfs::fileInfo(object, 0, 0); }
    static Bytes noDirectory(std::uint32_t object) { return nfs::directoryInfo(object, false, 0, kNoLimit); }

    static constexpr int kDirectories = 250;
    static constexpr int kFiles = 10;
    static constexpr std::uint32_t kLast = 999'999;
    const std::string content_ = someBytes(3 * kBlock + 5);
    testsupport::TempDir outside_;
    std::unique_ptr<TwoDevices> devices_;
    std::unique_ptr<ShareProcess> share_;
    std::unique_ptr<PeerVisitor> visitor_;
};

INSTANTIATE_TEST_SUITE_P(Uuids, PeerVisits, testing::Values(peer::kLowestUuid, peer::kHighestUuid),
                         [](const auto& uuids) {
                             return uuids.param == peer::kLowestUuid ? "ThePeerConnects" : "WeConnect";
                         });

TEST_P(PeerVisits, ByTheBytes)
{
    PeerVisitor& guest = *visitor_;

    // The root: what is shared, then what it is.
    EXPECT_EQ(guest.answerTo(nfs::directoryRequest(1, u"/")),
              nfs::directoryContents(1, {u"Music"}, true, true, true));
    EXPECT_EQ(guest.answer(), nfs::directoryInfo(1, true, kRootFlags, kNoLimit));
    guest.ask(nfs::directoryRelease(1));

    // 250 directories and 10 files in pieces of at most 100 names.
    constexpr std::int32_t kPermissions0755 = 0x7755;
    EXPECT_EQ(guest.answerTo(nfs::directoryRequest(2, u"/Music/many")),
              nfs::directoryInfo(2, true, kPermissions0755, kNoLimit));
    std::set<std::u16string> names;
    const std::vector<std::size_t> sizes{100, 100, 50, 10};
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const Bytes piece = guest.answer();
        auto body = nfs::received(piece).body;
        std::vector<std::u16string> entries;
        for (auto count = body.number(4); count > 0; --count)
            entries.push_back(body.text());
        EXPECT_EQ(entries.size(), sizes[i]);
        names.insert(entries.begin(), entries.end());
        EXPECT_EQ(piece, nfs::directoryContents(2, entries, i == 0, i == 3, i < 3)) << i;
    }
    std::set<std::u16string> expected;
    for (int i = 0; i < kDirectories; ++i)
        expected.insert(u"dir" + wide(std::to_string(i)));
    for (int i = 0; i < kFiles; ++i)
        expected.insert(u"file" + wide(std::to_string(i)));
    EXPECT_EQ(names, expected);
    guest.ask(nfs::directoryRelease(2));

    // Opening, some blocks, one behind the end, the same once more; and the end of it.
    EXPECT_EQ(guest.answerTo(nfs::fileRequest(3, u"/Music/there")), theFile(3));
    guest.ask(nfs::dataRequest(3, {{0, 1}, {3, 4}}));
    for (const std::size_t block : {0U, 1U, 3U})
        EXPECT_EQ(guest.answer(), theBlock(3, block)) << block;
    EXPECT_EQ(guest.answer(), nfs::fileData(3, 4 * kBlock, {})) << "behind the end";
    EXPECT_EQ(guest.answerTo(nfs::dataRequest(3, {{2, 2}})), theBlock(3, 2));
    EXPECT_EQ(guest.answerTo(nfs::dataRequest(3, {{2, 2}})), theBlock(3, 2));
    EXPECT_EQ(guest.answerTo(nfs::fileRequest(3, u"/Music/there")), theFile(3)) << "asked twice";
    EXPECT_EQ(guest.answerTo(nfs::lockRequest(3, 1)), nfs::lockResponse(3, 1, 1));
    EXPECT_EQ(guest.answerTo(nfs::lockRequest(3, 0)), nfs::lockResponse(3, 1, 0));
    guest.ask(nfs::fileRelease(3));
    guest.ask(nfs::fileRelease(3));
    EXPECT_EQ(guest.answerTo(nfs::dataRequest(77, {{0, 0}})), nfs::objectUnavailable(77));
}

/// A moment: Julian day, milliseconds of it, 1 for UTC or 0 for the local time, which is the same here.
void expectMoment(nfs::Parser& body, std::int64_t seconds, std::uint64_t milliseconds)
{
    constexpr std::int64_t kDay = 86400;
    constexpr std::int64_t k1970 = 2440588;
    EXPECT_EQ(body.number(8), static_cast<std::uint64_t>(k1970 + seconds / kDay));
    EXPECT_EQ(body.number(4), static_cast<std::uint64_t>(seconds % kDay) * 1000 + milliseconds);
    EXPECT_LE(body.number(1), 1U);
}

TEST_P(PeerVisits, AskingWhatThingsAre)
{
    PeerVisitor& guest = *visitor_;
    constexpr std::int64_t kModified = 1'700'000'000;
    constexpr std::int64_t kRead = 1'600'000'000;
    const timespec times[2]{{kRead, 250'000'000}, {kModified, 125'000'000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path("there").c_str(), times, 0), 0);

    auto there = nfs::received(guest.answerTo(nfs::infoRequest(1, u"/Music/there")));
    EXPECT_EQ(there.object, 1U);
    EXPECT_EQ(there.type, kInfo);
    EXPECT_TRUE(there.body.boolean()) << "exists";
    EXPECT_FALSE(there.body.boolean()) << "a directory";
    // Reading and writing for the owner and for the one who asks, who is the owner, and reading for the
    // group.
    EXPECT_EQ(there.body.number(4), 0x6640U);
    for (int octet = 0; octet < 13; ++octet)
        static_cast<void>(there.body.number(1));  // created: the system's own clock
    expectMoment(there.body, kModified, 125);
    expectMoment(there.body, kRead, 250);
    EXPECT_EQ(there.body.number(8), content_.size());
    EXPECT_TRUE(there.body.atEnd());

    auto many = nfs::received(guest.answerTo(nfs::infoRequest(2, u"/Music/many")));
    EXPECT_TRUE(many.body.boolean()) << "exists";
    EXPECT_TRUE(many.body.boolean()) << "a directory";

    auto root = nfs::received(guest.answerTo(nfs::infoRequest(3, u"")));
    EXPECT_TRUE(root.body.boolean()) << "exists";
    EXPECT_TRUE(root.body.boolean()) << "a directory";
    EXPECT_EQ(root.body.number(4), static_cast<std::uint32_t>(kRootFlags));
}

TEST_P(PeerVisits, NothingOutsideIsShown)
{
    PeerVisitor& guest = *visitor_;
    const std::u16string up = u"../" + wide(fs::path(outside_.path()).filename().string());
    std::uint32_t object = 0;
    for (const std::u16string& name :
         {u"/Music/" + up + u"/secret", u"/Music/many/../" + up + u"/secret", std::u16string(u"/Music/link"),
          std::u16string(u"/Music/way/secret"), std::u16string(u"/Music/../../etc/passwd"),
          std::u16string(u"/Other/there"), std::u16string(u"there"), std::u16string(u"/"), std::u16string(),
          std::u16string(u"/Music/there\0/x", 15), std::u16string(30000, u'/')}) {
        SCOPED_TRACE(testing::Message() << "path " << object);
        ++object;
        EXPECT_EQ(guest.answerTo(nfs::fileRequest(object, name)), noFile(object));
        // It is a file for nobody.
        guest.ask(nfs::deleteRequest(object));
        static_cast<void>(guest.answer());
        const bool isRoot = name.empty() || name == u"/";
        ++object;
        auto info = nfs::received(guest.answerTo(nfs::infoRequest(object, name)));
        EXPECT_EQ(info.type, kInfo);
        if (!isRoot) {
            EXPECT_FALSE(info.body.boolean()) << "exists";
        }
    }
    for (const std::u16string& name : {u"/Music/" + up, std::u16string(u"/Music/way"),
                                       std::u16string(u"/Music/.."), std::u16string(u"/Other")}) {
        ++object;
        EXPECT_EQ(guest.answerTo(nfs::directoryRequest(object, name)), noDirectory(object));
    }
}

TEST_P(PeerVisits, NothingIsChanged)
{
    PeerVisitor& guest = *visitor_;
    const auto before = fs::last_write_time(path("there"));
    ASSERT_EQ(guest.answerTo(nfs::fileRequest(1, u"/Music/there")), theFile(1));
    guest.ask(nfs::writeRequest(1, 0, "overwritten"));
    guest.ask(nfs::writeRequest(1, 1, "askew"));
    guest.ask(nfs::writeRequest(1, INT64_MIN, "below"));
    guest.ask(nfs::writeRequest(1, INT64_MAX - 4095, "far out"));
    guest.ask(nfs::syncRequest(1));
    const auto size = static_cast<std::int64_t>(content_.size());
    for (const std::int64_t newSize : {std::int64_t{0}, std::int64_t{-1}, INT64_MAX, size})
        EXPECT_EQ(guest.answerTo(nfs::truncateRequest(1, newSize)), nfs::truncateResponse(1, false, size));
    for (const std::int32_t level : {2, 3, 0}) {
        const Bytes answer = guest.answerTo(nfs::lockRequest(1, level));
        EXPECT_EQ(answer, nfs::lockResponse(1, 1, level)) << "locks are no changes";
    }
    for (const std::int32_t level : {-1, 4, INT32_MIN, INT32_MAX})
        EXPECT_EQ(guest.answerTo(nfs::lockRequest(1, level)), nfs::lockResponse(1, -1, level));
    EXPECT_EQ(guest.answerTo(nfs::deleteRequest(1)), nfs::deleteResponse(1, false));
    EXPECT_EQ(fs::last_write_time(path("there")), before);

    EXPECT_EQ(guest.answerTo(nfs::fileRequest(2, u"/Music/missing")), noFile(2));
    guest.ask(nfs::writeRequest(2, 0, "new"));
    guest.ask(nfs::syncRequest(2));
    EXPECT_EQ(guest.answerTo(nfs::truncateRequest(2, 1)), nfs::truncateResponse(2, false, 0));
    EXPECT_EQ(guest.answerTo(nfs::deleteRequest(2)), nfs::deleteResponse(2, false));
    EXPECT_FALSE(fs::exists(path("missing")));
}

TEST_P(PeerVisits, TwoAtOnceKeepTheirNumbersApart)
{
    NetworkNamespace c;
    devices_->wire.plug(c, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24")});
    peer::Uuid uuid = GetParam();
    uuid.back() ^= 0x20U;
    PeerVisitor other(c, "10.0.0.3", uuid);
    PeerVisitor& guest = *visitor_;
    EXPECT_EQ(guest.answerTo(nfs::fileRequest(1, u"/Music/there")), theFile(1));
    EXPECT_EQ(other.answerTo(nfs::fileRequest(1, u"/Music/many/file0")), nfs::fileInfo(1, 1, 1));
    EXPECT_EQ(other.answerTo(nfs::fileRequest(2, u"/Music/there")), theFile(2));
    EXPECT_EQ(guest.answerTo(nfs::lockRequest(1, 3)), nfs::lockResponse(1, 1, 3));
    EXPECT_EQ(other.answerTo(nfs::lockRequest(2, 1)), nfs::lockResponse(2, 0, 1)) << "busy";
    EXPECT_EQ(guest.answerTo(nfs::lockRequest(1, 0)), nfs::lockResponse(1, 1, 0));
    EXPECT_EQ(other.answerTo(nfs::lockRequest(2, 1)), nfs::lockResponse(2, 1, 1));
    guest.ask(nfs::dataRequest(1, {{0, 0}}));
    EXPECT_EQ(other.answerTo(nfs::dataRequest(1, {{0, 0}})), nfs::fileData(1, 0, "x"));
    EXPECT_EQ(guest.answer(), theBlock(1, 0));
    guest.ask(nfs::fileRelease(1));
    EXPECT_EQ(other.answerTo(nfs::dataRequest(2, {{3, 3}})), theBlock(2, 3));
}

TEST_P(PeerVisits, GarbageAndFloodsCostLittle)
{
    NetworkNamespace c;
    devices_->wire.plug(c, QStringLiteral("eth0"), {QStringLiteral("10.0.0.3/24")});
    peer::Uuid uuid = GetParam();
    uuid.back() ^= 0x20U;
    PeerVisitor other(c, "10.0.0.3", uuid);
    PeerVisitor& guest = *visitor_;
    ASSERT_EQ(guest.answerTo(nfs::fileRequest(1, u"/Music/there")), theFile(1));
    ASSERT_EQ(other.answerTo(nfs::fileRequest(1, u"/Music/there")), theFile(1));
    const long before = residentKiBOf(share_->processId());

    std::mt19937 chance(20241121);
    const int packets = testsupport::repetitions(20000);
    for (int i = 0; i < packets; ++i) {
        Bytes noise(chance() % 300, '\0');
        for (char& byte : noise)
            byte = static_cast<char>(chance());
        if (i % 2 == 0) {
            constexpr std::uint32_t kTypes = 13;  // those of requests, and some more
            noise.insert(0, nfs::header(1, 2000 + static_cast<std::int32_t>(chance() % kTypes)));
        }
        guest.ask(noise);
    }
    constexpr std::uint64_t kLastBlock = (std::uint64_t{1} << 63U) - 1;
    const int lies = testsupport::repetitions(100'000);
    Bytes flood;
    for (int i = 0; i < lies; ++i) {
        flood += nfs::packet(nfs::dataRequest(1, {{0, kLastBlock}}));
        const auto far = static_cast<std::uint64_t>(i) * 1000;
        flood += nfs::packet(nfs::dataRequest(1, {{far, far}, {far + 2, kLastBlock}}));
        flood += nfs::packet(nfs::header(1, 2005) + peer::number64(kLastBlock));
        if (flood.size() > 100'000) {
            guest.askBytes(flood);
            flood.clear();
            // Others are served meanwhile.
            EXPECT_EQ(other.answerTo(nfs::dataRequest(1, {{2, 2}})), theBlock(1, 2));
        }
    }
    guest.askBytes(flood);
    EXPECT_EQ(other.answerTo(nfs::dataRequest(1, {{2, 2}})), theBlock(1, 2));
    constexpr long kMostKiB = 64 * 1024;  // 16 MiB of answers unread, 65,536 ranges, and what allocators keep
    EXPECT_LE(residentKiBOf(share_->processId()), before + kMostKiB);

    // It may have got the file into any state, but not the device: another object of the same guest works.
    guest.ask(nfs::fileRelease(1));
    guest.ask(nfs::fileRequest(2, u"/Music/many/file1"));
    const auto answers = guest.answersUpTo(2, kFileInfo);
    ASSERT_FALSE(answers.empty());
    EXPECT_EQ(answers.back(), nfs::fileInfo(2, 1, 1));
}

}  // namespace
