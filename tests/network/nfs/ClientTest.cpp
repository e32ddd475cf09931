#include "network/nfs/ClientTest.h"

#include "support/eventually.h"

#include <algorithm>
#include <utility>

namespace nfstest {

using namespace std::chrono_literals;

namespace {

constexpr std::size_t kBlock = 4096;

peer::Bytes blockOf(const std::string& content, std::uint64_t block)
{
    const std::size_t start = block * kBlock;
    return start < content.size() ? content.substr(start, kBlock) : std::string();
}

}  // namespace

ClientTest::ClientTest() : device_(join())
{
    file_ = nfs()->getFile(QUrl(device_->url(QStringLiteral("/Music/a.flac"))), false);
}

ClientTest::~ClientTest() = default;

ClientTest::Adapter ClientTest::adapter()
{
    auto result = ebo::makeRef<eboNfsFileAdapter>(file_);
    file_->addAdapter(result);
    return result;
}

ClientTest::Adapter ClientTest::opened(std::int64_t size, eboFile::OpenFlags flags)
{
    auto result = adapter();
    const bool isFirst = file_->status() == eboNfsFile::Status::Uninitialized;
    auto isOpen = async([result, flags] { return result->open(flags); });
    if (isFirst) {
        expect(kFileRequest);
        peer().send(peer::nfs::fileInfo(object(), size));
    }
    EXPECT_TRUE(isOpen.get());
    return result;
}

std::string ClientTest::readFrom(eboFile& file, std::size_t size)
{
    std::string bytes(size, '?');
    const std::int64_t count = file.read(bytes.data(), static_cast<std::int64_t>(size));
    if (count < 0)
        return "failed";
    bytes.resize(static_cast<std::size_t>(count));
    return bytes;
}

std::future<std::string> ClientTest::reading(const Adapter& from, std::size_t size)
{
    return async([from, size] { return readFrom(*from, size); });
}

peer::nfs::Parser ClientTest::expect(std::int32_t type)
{
    auto message = peer::nfs::received(peer().next());
    EXPECT_EQ(message.type, type);
    EXPECT_EQ(message.object, object());
    return std::move(message.body);
}

void ClientTest::expectRequest(std::uint64_t block)
{
    EXPECT_EQ(expect(kDataRequest).ranges(), (peer::nfs::Ranges{{block, block}}));
}

void ClientTest::answer(std::uint64_t block, const std::string& content)
{
    peer().send(
        peer::nfs::fileData(object(), static_cast<std::int64_t>(block * kBlock), blockOf(content, block)));
}

void ClientTest::awaitArrival()
{
    const std::int64_t size = file_->size() + 1;
    peer().send(peer::nfs::fileInfo(object(), size));
    EXPECT_TRUE(testsupport::eventually([&] { return file_->size() == size; }));
}

void ClientTest::expectSilence()
{
    settle();
    EXPECT_FALSE(peer().nextWithin(0ms).has_value());
}

std::string someBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / kBlock * 13);
    return bytes;
}

ServingPeer::ServingPeer(NfsPeer& peer, std::string content, int answers)
    : peer_(peer), content_(std::move(content)), answers_(answers), thread_([this] {
          while (!stop_) {
              if (const auto request = peer_.nextWithin(20ms))
                  serve(*request);
          }
      })
{}

ServingPeer::~ServingPeer()
{
    stop_ = true;
    thread_.join();
}

void ServingPeer::serve(const peer::Bytes& request)
{
    auto message = peer::nfs::received(request);
    for (int i = 0; i < answers_; ++i) {
        auto body = message.body;
        switch (message.type) {
        case kFileRequest:
            peer_.send(peer::nfs::fileInfo(message.object, static_cast<std::int64_t>(content_.size())));
            break;
        case kDataRequest:
            ++dataRequests;
            for (const auto& [first, last] : body.ranges()) {
                for (std::uint64_t block = first; block <= last; ++block)
                    peer_.send(peer::nfs::fileData(message.object, static_cast<std::int64_t>(block * kBlock),
                                                   blockOf(content_, block)));
            }
            break;
        case kLockRequest:
            peer_.send(peer::nfs::lockResponse(message.object, 1, static_cast<std::int32_t>(body.number(4))));
            break;
        case kTruncateRequest:
            peer_.send(
                peer::nfs::truncateResponse(message.object, true, static_cast<std::int64_t>(body.number(8))));
            break;
        default:
            break;
        }
    }
}

}  // namespace nfstest
