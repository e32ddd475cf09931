#include "network/nfs/ClientTest.h"
#include "support/eventually.h"
#include "support/repetitions.h"

#include <random>

using namespace nfstest;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using testsupport::eventually;

namespace {

class Reading : public ClientTest {};

TEST_F(Reading, APageIsFetchedOnceAndServesAllItsBytes)
{
    const std::string content = someBytes(10000);
    const Adapter file = opened(10000);
    auto bytes = reading(file, 100);
    expectRequest(0);
    answer(0, content);
    EXPECT_EQ(bytes.get(), content.substr(0, 100));
    EXPECT_EQ(file->pos(), 100);
    EXPECT_EQ(readFrom(*file, 3000), content.substr(100, 3000));
    EXPECT_EQ(file->pos(), 3100);
    EXPECT_FALSE(file->hasLostData());
    expectSilence();
}

TEST_F(Reading, EveryPageOfALongReadHasItsOwnRequest)
{
    const std::string content = someBytes(10000);
    const Adapter file = opened(10000);
    ASSERT_TRUE(file->seek(4000));
    auto bytes = reading(file, 5000);
    for (std::uint64_t block = 0; block < 3; ++block) {
        expectRequest(block);
        answer(block, content);
    }
    EXPECT_EQ(bytes.get(), content.substr(4000, 5000));
    expectSilence();
}

TEST_F(Reading, AtTheEndNothingIsAsked)
{
    const Adapter file = opened(5000);
    ASSERT_TRUE(file->seek(5000));
    EXPECT_EQ(readFrom(*file, 10), "");
    EXPECT_FALSE(file->hasLostData());
    expectSilence();
}

TEST_F(Reading, AnEmptyFileHasNothingToAskFor)
{
    const Adapter file = opened(0);
    EXPECT_EQ(readFrom(*file, 10), "");
    EXPECT_TRUE(file->atEnd());
    expectSilence();
}

TEST_F(Reading, NoBytesOrFewerAreNoRead)
{
    const Adapter file = opened(100);
    char byte = 0;
    EXPECT_EQ(file->read(&byte, 0), 0);
    EXPECT_EQ(file->read(&byte, -5), 0);
    expectSilence();
}

TEST_F(Reading, AFileOfTwoWholePagesHasNoThird)
{
    const std::string content = someBytes(8192);
    const Adapter file = opened(8192);
    auto bytes = reading(file, 100000);
    for (std::uint64_t block = 0; block < 2; ++block) {
        expectRequest(block);
        answer(block, content);
    }
    EXPECT_EQ(bytes.get(), content);
    EXPECT_EQ(readFrom(*file, 100), "");
    expectSilence();
}

TEST_F(Reading, AnyPieceOfTheFileComesOutAsItIs)
{
    const std::string content = someBytes(100 * 4096 + 1234);
    const ServingPeer server(peer(), content);
    const Adapter file = adapter();
    ASSERT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));
    std::mt19937 random(3);
    for (int i = 0; i < testsupport::repetitions(300); ++i) {
        const std::size_t position = random() % (content.size() + 1);
        const std::size_t size = random() % 20000;
        ASSERT_TRUE(file->seek(static_cast<std::int64_t>(position)));
        ASSERT_EQ(readFrom(*file, size), content.substr(position, size)) << position << "+" << size;
    }
    EXPECT_LE(server.dataRequests, 101);
}

TEST_F(Reading, AReadLargerThanTheCacheComesWhole)
{
    auto cache = std::make_shared<eboUtils::PageCache>(100);
    const std::string content = someBytes(300 * 4096 + 1);
    const ServingPeer server(peer(), content);
    file_ = ebo::makeRef<eboNfsFile>(ebo::weakptr<eboNfs>(), file_->host(), cache, file_->url(),
                                     nfs()->takeObjectId());
    nfs()->addObject(file_);
    const Adapter file = adapter();
    ASSERT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));
    EXPECT_EQ(readFrom(*file, content.size()), content);
}

TEST_F(Reading, WithoutRoomInTheCacheAReadReturnsNothing)
{
    auto cache = std::make_shared<eboUtils::PageCache>(2);
    file_ = ebo::makeRef<eboNfsFile>(ebo::weakptr<eboNfs>(), file_->host(), cache, file_->url(),
                                     nfs()->takeObjectId());
    nfs()->addObject(file_);
    const std::string content = someBytes(20000);
    const ServingPeer server(peer(), content);
    const Adapter file = adapter();
    ASSERT_TRUE(file->open(eboFile::OpenRead | eboFile::OpenBinary));
    std::vector<eboUtils::PageRef> held;
    ASSERT_EQ(cache->getPages(*file_, object(), 0, 1, held), 1);
    EXPECT_EQ(readFrom(*file, 8192), content.substr(0, 8192));
    EXPECT_EQ(readFrom(*file, 10), "") << "not failed";
    EXPECT_EQ(file->pos(), 8192);
    held.clear();
    EXPECT_EQ(readFrom(*file, 10), content.substr(8192, 10));
}

TEST_F(Reading, ALostRequestIsSentAgainAfterASecondAndNotBefore)
{
    const std::string content = someBytes(100);
    const Adapter file = opened(100);
    auto bytes = reading(file, 100);
    const auto first = peer().next();
    auto begin = Clock::now();
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(peer().next(), first);
        EXPECT_GE(Clock::now() - begin, 900ms);
        begin = Clock::now();
    }
    answer(0, content);
    EXPECT_EQ(bytes.get(), content);
}

TEST_F(Reading, WhatComesForOtherPagesSendsNothingAgain)
{
    const std::string content = someBytes(9000);
    const Adapter file = opened(9000);
    auto bytes = reading(file, 100);
    expectRequest(0);
    for (int i = 0; i < 15; ++i) {
        answer(2, content);
        EXPECT_FALSE(peer().nextWithin(100ms).has_value()) << "in the silence of another page";
    }
    answer(0, content);
    EXPECT_EQ(bytes.get(), content.substr(0, 100));
}

TEST_F(Reading, ASlowLinkSlowsItsReaderFurther)
{
    const std::string content = someBytes(100);
    const Adapter file = opened(100);
    auto bytes = reading(file, 100);
    expectRequest(0);
    EXPECT_FALSE(peer().nextWithin(300ms).has_value());
    const auto answered = Clock::now();
    answer(0, content);
    EXPECT_EQ(bytes.get(), content);
    EXPECT_GE(Clock::now() - answered, 249ms);
}

TEST_F(Reading, TwoWhoWantOnePageSendOneRequest)
{
    const std::string content = someBytes(5000);
    const Adapter one = opened(5000);
    const Adapter two = opened(5000);
    auto first = reading(one, 100);
    expectRequest(0);
    auto second = reading(two, 200);
    EXPECT_FALSE(peer().nextWithin(200ms).has_value());
    answer(0, content);
    EXPECT_EQ(first.get(), content.substr(0, 100));
    EXPECT_EQ(second.get(), content.substr(0, 200));
    expectSilence();
}

TEST_F(Reading, TwoWhoWantDifferentPagesWaitSideBySide)
{
    const std::string content = someBytes(9000);
    const Adapter one = opened(9000);
    const Adapter two = opened(9000);
    ASSERT_TRUE(two->seek(4096));
    auto first = reading(one, 10);
    expectRequest(0);
    auto second = reading(two, 10);
    expectRequest(1);
    answer(1, content);
    EXPECT_EQ(second.get(), content.substr(4096, 10));
    answer(0, content);
    EXPECT_EQ(first.get(), content.substr(0, 10));
}

TEST_F(Reading, ShortBlocksEndInZeros)
{
    const Adapter file = opened(100);
    auto bytes = reading(file, 6);
    expectRequest(0);
    peer().send(peer::nfs::fileData(object(), 0, "abc"));
    EXPECT_EQ(bytes.get(), std::string("abc\0\0\0", 6));
}

TEST_F(Reading, BlocksThatAreNoneAreNotTaken)
{
    const std::string content = someBytes(9000);
    const Adapter file = opened(9000);
    ASSERT_TRUE(file->seek(4096));
    auto bytes = reading(file, 100);
    expectRequest(1);
    peer().send(peer::nfs::fileData(object(), 4096, std::string(4097, 'x')));
    peer().send(peer::nfs::fileData(object(), 4097, std::string(100, 'x')));
    peer().send(peer::nfs::fileData(object(), -4096, std::string(100, 'x')));
    peer().send(peer::nfs::fileData(object(), 4096LL << 40, std::string(100, 'x')));
    peer().send(peer::nfs::fileData(object() + 1, 4096, std::string(100, 'x')));
    answer(1, content);
    EXPECT_EQ(bytes.get(), content.substr(4096, 100));
}

TEST_F(Reading, ALengthThatLiesCostsNothing)
{
    constexpr std::int64_t kLie = std::int64_t{1} << 62;
    const Adapter file = opened(kLie);
    EXPECT_EQ(file->size(), kLie);
    ASSERT_TRUE(file->seek(kLie - 10));
    auto bytes = reading(file, 100);
    const std::uint64_t last = static_cast<std::uint64_t>(kLie) / 4096 - 1;
    expectRequest(last);
    peer().send(peer::nfs::fileData(object(), kLie - 4096, std::string(4096, 'z')));
    EXPECT_EQ(bytes.get(), "zzzzzzzzzz");
    EXPECT_TRUE(file_->hasMissingData());
    // Everything of it can become invalid, and the file can go.
    peer().send(peer::nfs::dataInvalid(object(), {{0, last}}, 7));
    EXPECT_TRUE(eventually([&] { return file->size() == 7; }));
}

}  // namespace
