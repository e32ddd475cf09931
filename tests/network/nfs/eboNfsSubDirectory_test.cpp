#include "network/nfs/eboNfsSubDirectory.h"

#include "network/nfs/ServingTest.h"
#include "network/nfs/servingLimits.h"

#include <set>

using namespace nfstest;
using namespace peer::nfs;
using testsupport::eventually;

namespace fs = std::filesystem;

namespace {

struct Page {
    std::uint32_t object;
    std::vector<std::u16string> entries;
    bool isFirst;
    bool isLast;
    bool containsDirectories;
};

Page pageOf(const peer::Bytes& payload)
{
    auto [object, type, body] = received(payload);
    EXPECT_EQ(type, 3);
    Page page{object, {}, false, false, false};
    for (auto count = body.number(4); count > 0; --count)
        page.entries.push_back(body.text());
    page.isFirst = body.boolean();
    page.isLast = body.boolean();
    page.containsDirectories = body.boolean();
    EXPECT_TRUE(body.atEnd());
    return page;
}

std::set<std::u16string> nextListing(Device& device, std::uint32_t object)
{
    std::set<std::u16string> names;
    for (bool isFirst = true;; isFirst = false) {
        const Page page = pageOf(device.peer.next());
        EXPECT_EQ(page.object, object);
        EXPECT_EQ(page.isFirst, isFirst);
        names.insert(page.entries.begin(), page.entries.end());
        if (page.isLast)
            return names;
    }
}

class SubDirectory : public ServingTest {
protected:
    /// Asks for a directory, and reads all but its contents.
    static void ask(Device& device, std::uint32_t object, const std::u16string& path = u"/music")
    {
        device.peer.send(directoryRequest(object, path));
        auto answer = received(device.peer.next());
        EXPECT_EQ(answer.object, object);
        EXPECT_EQ(answer.type, 2);
        EXPECT_TRUE(answer.body.boolean());
    }

    /// Empty ones: "file0" and so on. Links to one, which are made faster than files.
    void makeFiles(int count, const std::string& start = "file") const
    {
        testsupport::writeWholeFile(dir() + "/empty", {});
        for (int i = 0; i < count; ++i)
            fs::create_hard_link(dir() + "/empty", music() + "/" + start + std::to_string(i));
    }
    void makeFolders(int count) const
    {
        for (int i = 0; i < count; ++i)
            fs::create_directory(music() + "/folder" + std::to_string(i));
    }

    /// A directory of its own, to be processed turn by turn. On the network thread.
    ebo::refptr<eboNfsSubDirectory> directory() const
    {
        return ebo::makeRef<eboNfsSubDirectory>(
            urlOf(music()), eboUtils::file::DirectoryContentHandle(QByteArray::fromStdString(music())),
            std::make_shared<DirectoryWatch>());
    }
    static bool process(eboNfsSubDirectory& directory)
    {
        bool more = true;
        directory.process(more);
        return more;
    }
};

TEST_F(SubDirectory, DirectoriesComeFirstInPagesOfAHundred)
{
    share();
    makeFolders(250);
    makeFiles(10);
    const auto device = join();
    ask(*device, 3);
    const std::vector<std::size_t> sizes{100, 100, 50, 10};
    std::set<std::u16string> names;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const Page page = pageOf(device->peer.next());
        EXPECT_EQ(page.entries.size(), sizes[i]);
        EXPECT_EQ(page.isFirst, i == 0);
        EXPECT_EQ(page.isLast, i == 3);
        EXPECT_EQ(page.containsDirectories, i < 3);
        names.insert(page.entries.begin(), page.entries.end());
    }
    EXPECT_EQ(names.size(), 260U);
    EXPECT_TRUE(names.contains(u"folder249"));
    EXPECT_TRUE(names.contains(u"file9"));
    expectNothingMore(*device);
}

TEST_F(SubDirectory, AFullPageCanBeTheLastOne)
{
    share();
    makeFiles(100);
    const auto device = join();
    ask(*device, 3);
    const Page page = pageOf(device->peer.next());
    EXPECT_EQ(page.entries.size(), 100U);
    EXPECT_TRUE(page.isFirst);
    EXPECT_TRUE(page.isLast);
    EXPECT_FALSE(page.containsDirectories);
}

TEST_F(SubDirectory, AnEmptyDirectoryIsOneEmptyPage)
{
    share();
    const auto device = join();
    ask(*device, 3);
    EXPECT_EQ(device->peer.next(), directoryContents(3, {}, true, true, false));
    expectNothingMore(*device);
}

TEST_F(SubDirectory, TwentyThousandFilesArriveWhole)
{
    share();
    constexpr int kFiles = 20000;
    makeFiles(kFiles);
    const auto device = join();
    ask(*device, 3);
    const auto names = nextListing(*device, 3);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kFiles));
    EXPECT_TRUE(names.contains(u"file19999"));
}

TEST_F(SubDirectory, LongNamesFitIntoAPacket)
{
    share();
    for (int i = 100; i < 200; ++i)
        put(std::string(252, 'n') + std::to_string(i), {});
    const auto device = join();
    ask(*device, 3);
    EXPECT_EQ(pageOf(device->peer.next()).entries.size(), 100U);
}

TEST_F(SubDirectory, AChangeInTheMiddleStartsAllOver)
{
    share();
    makeFolders(150);
    const auto device = join();
    const auto host = hostOf(*device);
    onNetworkThread([&] {
        const auto served = directory();
        served->registerListeningHost(host, 3);
        served->onDirectoryContentChanged({});
        EXPECT_TRUE(process(*served));
        makeFiles(1);
        served->onDirectoryContentChanged({});
        EXPECT_TRUE(process(*served));
        served->onDirectoryContentChanged({});  // nothing new
        EXPECT_TRUE(process(*served));
        EXPECT_FALSE(process(*served));
        EXPECT_FALSE(process(*served));
        served->releaseObject(host, 3);
    });
    const Page before = pageOf(device->peer.next());
    EXPECT_TRUE(before.isFirst);
    EXPECT_FALSE(before.isLast);
    EXPECT_EQ(before.entries.size(), 100U);
    EXPECT_EQ(nextListing(*device, 3).size(), 151U);
    expectNothingMore(*device);
}

TEST_F(SubDirectory, EachNumberIsListedByItself)
{
    share();
    makeFiles(3);
    const auto device = join();
    ask(*device, 3);
    EXPECT_EQ(nextListing(*device, 3).size(), 3U);
    ask(*device, 4);
    EXPECT_EQ(nextListing(*device, 4).size(), 3U);
    ask(*device, 4);  // once more under the same number: it has it all
    expectNothingMore(*device);
}

TEST_F(SubDirectory, OnePageATurnForEverybody)
{
    share();
    makeFiles(250);
    const auto device = join();
    const auto host = hostOf(*device);
    onNetworkThread([&] {
        const auto served = directory();
        for (unsigned object = 1; object <= 3; ++object)
            served->registerListeningHost(host, object);
        EXPECT_TRUE(process(*served));
        EXPECT_TRUE(process(*served));
        EXPECT_FALSE(process(*served));
        served->unregisterListeningHost(host);
    });
    for (int turn = 0; turn < 3; ++turn) {
        for (std::uint32_t object = 1; object <= 3; ++object)
            EXPECT_EQ(pageOf(device->peer.next()).object, object);
    }
}

TEST_F(SubDirectory, ChangesOnDiskAreListedAnew)
{
    share();
    makeFiles(1);
    const auto one = join(1);
    const auto two = join(2);
    ask(*one, 3);
    EXPECT_EQ(nextListing(*one, 3).size(), 1U);
    ask(*two, 4);
    EXPECT_EQ(nextListing(*two, 4).size(), 1U);
    put("new", {});
    EXPECT_TRUE(nextListing(*one, 3).contains(u"new"));
    EXPECT_TRUE(nextListing(*two, 4).contains(u"new"));
    fs::remove(music() + "/new");
    while (nextListing(*one, 3).contains(u"new")) {
    }
    fs::remove_all(music());
    while (!nextListing(*two, 4).empty()) {
    }
}

TEST_F(SubDirectory, WatchingBeginsAnewWithANewListener)
{
    share();
    const auto device = join();
    ask(*device, 3);
    EXPECT_TRUE(nextListing(*device, 3).empty());
    put("one", {});
    EXPECT_TRUE(nextListing(*device, 3).contains(u"one"));
    device->peer.send(directoryRelease(3));
    expectNothingMore(*device);
    put("two", {});
    ask(*device, 4);
    EXPECT_EQ(nextListing(*device, 4).size(), 2U);
    fs::remove(music() + "/two");  // as it was when it was last watched
    EXPECT_EQ(nextListing(*device, 4).size(), 1U);
}

TEST_F(SubDirectory, OneGuestTakesOneWatchOfTheSystemHoweverManyItListsAndOthersHaveTheirShare)
{
    constexpr int kMany = servingLimits::kMostWatchedOfHost + 20;
    share();
    makeFolders(kMany);
    const auto pathOf = [](int number) {
        const std::string name = "/music/folder" + std::to_string(number);
        return std::u16string(name.begin(), name.end());
    };
    const auto greedy = join();
    for (int i = 0; i < kMany; ++i) {
        const auto object = static_cast<std::uint32_t>(i + 1);
        ask(*greedy, object, pathOf(i));
        EXPECT_TRUE(nextListing(*greedy, object).empty()) << "listing works beyond the share as well";
    }
    int watches = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        watches += fs::read_symlink(entry, gone) == "anon_inode:inotify" ? 1 : 0;
    }
    EXPECT_EQ(watches, 1);

    put("folder" + std::to_string(kMany - 1) + "/unseen", {});
    put("folder0/seen", {});
    EXPECT_TRUE(nextListing(*greedy, 1).contains(u"seen"));
    expectNothingMore(*greedy);

    const auto modest = join(2);
    ask(*modest, 7, pathOf(kMany - 1));
    EXPECT_TRUE(nextListing(*modest, 7).contains(u"unseen"));
    put("folder" + std::to_string(kMany - 1) + "/new", {});
    EXPECT_TRUE(nextListing(*modest, 7).contains(u"new"));
    EXPECT_TRUE(nextListing(*greedy, kMany).contains(u"new")) << "told to one, told to all who look there";

    greedy->peer.send(directoryRelease(1));  // which gives a place back
    expectNothingMore(*greedy);
    ask(*greedy, 1000, pathOf(0));
    EXPECT_TRUE(nextListing(*greedy, 1000).contains(u"seen"));
    put("folder0/more", {});
    EXPECT_TRUE(nextListing(*greedy, 1000).contains(u"more"));
}

TEST_F(SubDirectory, ManyChangesAtOnceAreAllSeenInTheEnd)
{
    share();
    const auto device = join();
    ask(*device, 3);
    EXPECT_TRUE(nextListing(*device, 3).empty());
    makeFiles(300);
    while (nextListing(*device, 3).size() < 300) {
    }
}

TEST_F(SubDirectory, AfterTheLastReleaseNothingIsSent)
{
    share();
    makeFiles(250);
    const auto device = join();
    const auto host = hostOf(*device);
    onNetworkThread([&] {
        const auto served = directory();
        served->registerListeningHost(host, 3);
        served->registerListeningHost(host, 4);
        EXPECT_TRUE(process(*served));
        served->releaseObject(host, 3);
        EXPECT_TRUE(process(*served));
        served->releaseObject(host, 4);
        EXPECT_FALSE(process(*served));
        EXPECT_EQ(served->listenerCount(), 0U);
        makeFolders(1);
        served->onDirectoryContentChanged({});
        EXPECT_FALSE(process(*served));
    });
    for (const std::uint32_t object : {3U, 4U, 4U})
        EXPECT_EQ(pageOf(device->peer.next()).object, object);
    expectNothingMore(*device);
}

TEST_F(SubDirectory, AListingWaitsForADeviceThatDoesNotRead)
{
    share();
    constexpr int kFiles = 30000;
    makeFiles(kFiles, std::string(230, 'n'));  // 14 MB of names: more than sockets take
    const auto device = join();
    const auto host = hostOf(*device);
    qint64 most = 0;
    device->peer.send(directoryRequest(3, u"/music"));
    EXPECT_TRUE(eventually([&] {
        qint64 unsent = 0;
        onNetworkThread([&] { unsent = host->unsentBytes(); });
        most = std::max(most, unsent);
        return unsent > 256 * 1024 && !nfs()->isProcessingPending();
    }));
    EXPECT_LT(most, 256 * 1024 + 64 * 1024) << "no more than one page above what is allowed";
    EXPECT_EQ(received(device->peer.next()).type, 2);
    EXPECT_EQ(nextListing(*device, 3).size(), static_cast<std::size_t>(kFiles));
}

}  // namespace
