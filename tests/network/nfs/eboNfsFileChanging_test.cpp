// Files that change on their device while they are read here.

#include "network/nfs/ClientTest.h"
#include "support/eventually.h"
#include "support/repetitions.h"

#include <random>

using namespace nfstest;
using namespace std::chrono_literals;
using testsupport::eventually;

namespace {

class Changing : public ClientTest {};

TEST_F(Changing, WhatTheDeviceChangedIsFetchedAnew)
{
    const std::string before = someBytes(9000);
    const std::string after(5000, 'n');
    const Adapter file = opened(9000);
    auto bytes = reading(file, 9000);
    for (std::uint64_t block = 0; block < 3; ++block) {
        expectRequest(block);
        answer(block, before);
    }
    EXPECT_EQ(bytes.get(), before);
    peer().send(peer::nfs::dataInvalid(object(), {{1, 2}}, 5000));
    ASSERT_TRUE(eventually([&] { return file->size() == 5000; }));
    ASSERT_TRUE(file->seek(0));
    bytes = reading(file, 9000);
    expectRequest(1);
    answer(1, after);
    EXPECT_EQ(bytes.get(), before.substr(0, 4096) + after.substr(4096));
}

TEST_F(Changing, AChangeIsToldOnceAlsoWhenNothingWasHeld)
{
    const Adapter file = opened(100);
    const auto paths = std::make_shared<std::vector<std::string>>();
    QObject receiver;
    QObject::connect(
        nfs().get(), &eboNfs::fileChanged, nfs().get(),
        [paths](const QString& path) { paths->push_back(path.toStdString()); }, Qt::DirectConnection);
    peer().send(peer::nfs::dataInvalid(object(), {{0, 5}, {9, 12}}, 300));
    ASSERT_TRUE(eventually([&] { return file->size() == 300; }));
    settle();
    EXPECT_EQ(*paths, std::vector<std::string>{"/Music/a.flac"});
}

TEST_F(Changing, AnUnheardOfChangeCostsNothing)
{
    const Adapter file = opened(100);
    peer::nfs::Ranges scattered;
    for (std::uint64_t i = 0; i < 4000; ++i)
        scattered.emplace_back(i << 40U, (i << 40U) + 1000000000);
    for (int i = 0; i < 200; ++i)
        peer().send(peer::nfs::dataInvalid(object(), scattered, std::int64_t{1} << 62));
    peer().send(peer::nfs::dataInvalid(object(), {{0, (std::uint64_t{1} << 63) - 1}}, -5));
    ASSERT_TRUE(eventually([&] { return file->size() == 0; })) << "a negative length is none";
    EXPECT_EQ(readFrom(*file, 10), "");
    expectSilence();
}

TEST_F(Changing, AnInvalidationInTheWrongMomentCostsASecondAndNoMore)
{
    // The device names the block whose number is that of the file: the page that waits is forgotten, and its
    // first answer with it.
    const std::uint64_t block = object();
    const std::string content = someBytes((block + 1) * 4096);
    const Adapter file = opened(static_cast<std::int64_t>(content.size()));
    ASSERT_TRUE(file->seek(static_cast<std::int64_t>(block * 4096)));
    auto bytes = reading(file, 50);
    expectRequest(block);
    peer().send(
        peer::nfs::dataInvalid(object(), {{block, block}}, static_cast<std::int64_t>(content.size())));
    answer(block, std::string(content.size(), 'x'));
    expectRequest(block);
    answer(block, content);
    EXPECT_EQ(bytes.get(), content.substr(block * 4096, 50));
}

TEST_F(Changing, AnswersThatCrossChangesAndRepetitionsNeverBlockAnybody)
{
    const std::string content = someBytes(16 * 4096);
    const ServingPeer server(peer(), content, 2);  // everything is answered twice
    std::vector<std::future<bool>> readers;
    std::atomic<int> reads{0};
    std::atomic<int> stillReading{2};
    for (unsigned int i = 0; i < 2; ++i) {
        readers.push_back(async([this, &content, &reads, &stillReading, i] {
            const Adapter file = adapter();
            bool isRight = file->open(eboFile::OpenRead | eboFile::OpenBinary);
            std::mt19937 random(i);
            for (int round = 0; round < testsupport::repetitions(10000) && isRight; ++round) {
                const std::size_t position = random() % content.size();
                file->seek(static_cast<std::int64_t>(position));
                isRight = readFrom(*file, 100) == content.substr(position, 100);
                ++reads;
            }
            --stillReading;
            return isRight;
        }));
    }
    // Now and then; a page that has come and is taken back before its reader looks is asked for a second
    // later.
    eboNfsMessages::Message invalid(eboNfsMessages::eFileDataInvalid, object());
    invalid.invalidBlocks.set({0, 16});
    invalid.newSize = static_cast<std::int64_t>(content.size());
    for (int next = 100; stillReading > 0; next = reads + 100) {
        EXPECT_TRUE(eventually([&] { return reads >= next || stillReading == 0; }));
        onNetworkThread([&] { file_->messageReceived(invalid); });
    }
    for (auto& reader : readers)
        EXPECT_TRUE(reader.get());
    EXPECT_GT(server.dataRequests, 16);
}

TEST_F(Changing, AfterAChangeNobodySeesWhatWasThereBefore)
{
    constexpr std::int64_t kPages = 4;
    const Adapter file = opened(kPages * 4096);
    const Adapter other = opened(0);
    std::atomic<int> wanted{0};
    std::atomic<bool> stop{false};
    // Every byte of the file is the number of its last change; odd ones make it longer by a byte.
    auto device = async([&] {
        for (int version = 0; !stop;) {
            if (wanted > version) {
                ++version;
                peer().send(peer::nfs::dataInvalid(object(), {{0, kPages}}, kPages * 4096 + version % 2));
            }
            const auto request = peer().nextWithin(1ms);
            if (!request)
                continue;
            for (const auto& [first, last] : peer::nfs::received(*request).body.ranges())
                peer().send(peer::nfs::fileData(object(), static_cast<std::int64_t>(first) * 4096,
                                                std::string(4096, static_cast<char>(version))));
        }
    });
    auto disturber = async([&] {
        for (std::int64_t page = 0; !stop; page = (page + 1) % kPages) {
            other->seek(page * 4096);
            if (readFrom(*other, 1) == "failed")
                return false;
        }
        return true;
    });
    for (int version = 1; version <= testsupport::repetitions(50); ++version) {
        wanted = version;
        EXPECT_TRUE(eventually([&] { return file->size() == kPages * 4096 + version % 2; }));
        for (std::int64_t page = 0; page < kPages; ++page) {
            EXPECT_TRUE(file->seek(page * 4096));
            EXPECT_EQ(readFrom(*file, 2), std::string(2, static_cast<char>(version))) << "page " << page;
        }
    }
    stop = true;
    device.get();
    onNetworkThread([&] { file_->setIsUnavailable(); });  // the disturber may wait for a page
    static_cast<void>(disturber.get());
}

TEST_F(Changing, TheCoreMayEndBeforeTheFile)
{
    file_ = ebo::makeRef<eboNfsFile>(ebo::weakptr<eboNfs>(), file_->host(),
                                     std::make_shared<eboUtils::PageCache>(), file_->url(),
                                     nfs()->takeObjectId());
    nfs()->addObject(file_);
    const Adapter file = opened(100);
    peer().send(peer::nfs::dataInvalid(object(), {{0, 0}}, 50));
    EXPECT_TRUE(eventually([&] { return file->size() == 50; }));
}

}  // namespace
