// Files of all sizes, read from another device by a process that shares nothing but the network with it.

#include "network/nfs/FileSharing.h"
#include "network/sharing/SharingTest.h"
#include "runtime/GarbageCollection.h"
#include "runtime/deferredDeletions.h"
#include "support/repetitions.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>

namespace {

using namespace sharing;

/// This process as a device of its own.
class LocalDevice {
public:
    explicit LocalDevice(const NetworkNamespace& place)
    {
        collector_.start();
        const NetworkNamespace::Visit visit(place);
        EXPECT_TRUE(sharing_.bringUp(factory_));
    }
    ~LocalDevice()
    {
        sharing_.tearDown();
        ebo::deliverDeferredDeletions();
    }
    LocalDevice(const LocalDevice&) = delete;
    LocalDevice& operator=(const LocalDevice&) = delete;

    /// A file on another device, as soon as that is known.
    ebo::refptr<eboFile> file(const QByteArray& url)
    {
        ebo::refptr<eboFile> result;
        EXPECT_TRUE(until([&] {
            result = factory_->open(url.constData(), {});
            return bool(result);
        }));
        return result;
    }

    /// Runs on another thread, as readers do, while this one takes care of the network.
    template <typename Function>
    auto elsewhere(Function function)
    {
        auto result = std::async(std::launch::async, std::move(function));
        EXPECT_TRUE(until(
            [&] { return result.wait_for(std::chrono::milliseconds(1)) == std::future_status::ready; }));
        return result.get();
    }

    const ebo::refptr<eboNfsFileFactory>& factory() const { return factory_; }

private:
    ebo::GarbageCollection collector_;
    const ebo::refptr<eboNfsFileFactory> factory_ = ebo::makeRef<eboNfsFileFactory>();
    FileSharing sharing_;
};

constexpr eboFile::OpenFlags kReadFlags = eboFile::OpenRead | eboFile::OpenBinary;

std::string someBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

/// The whole of it, in odd pieces; "failed" if it cannot be read.
std::string contentOf(eboFile& file)
{
    std::string content;
    std::vector<char> piece(10007);
    for (;;) {
        const std::int64_t count = file.read(piece.data(), static_cast<std::int64_t>(piece.size()));
        if (count < 0)
            return "failed";
        if (count == 0)
            return content;
        content.append(piece.data(), static_cast<std::size_t>(count));
    }
}

class RemoteFiles : public SharingTest {
protected:
    void SetUp() override
    {
        SharingTest::SetUp();
        if (!IsSkipped())
            devices_ = std::make_unique<TwoDevices>();
    }

    void share(const QStringList& options = {})
    {
        share_ = std::make_unique<ShareProcess>(devices_->a, QString::fromStdString(devices_->folder.path()),
                                                options);
    }

    std::string path(const std::string& name) const { return devices_->folder.file(name); }

    std::unique_ptr<TwoDevices> devices_;
    std::unique_ptr<ShareProcess> share_;
};

TEST_F(RemoteFiles, OfAnySizeReadLikeLocalOnes)
{
    const std::vector<std::size_t> sizes{0, 1, 4095, 4096, 4097, 8192, 1'000'003};
    for (const std::size_t size : sizes)
        testsupport::writeWholeFile(path(std::to_string(size)), someBytes(size));
    share();
    LocalDevice device(devices_->b);
    for (const std::size_t size : sizes) {
        const auto file = device.file(share_->url(QByteArray::number(static_cast<qulonglong>(size))));
        ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags); })) << size;
        EXPECT_EQ(file->size(), static_cast<std::int64_t>(size));
        EXPECT_EQ(file->atEnd(), size == 0);
        EXPECT_EQ(device.elsewhere([&] { return contentOf(*file); }), someBytes(size)) << size;
        EXPECT_TRUE(file->atEnd());
        file->close();
    }
}

TEST_F(RemoteFiles, BeyondTheCacheAreReadWhole)
{
    // More than the 50 MB that the cache holds, at the full scale of the tests.
    const std::size_t size = static_cast<std::size_t>(testsupport::repetitions(100)) * 1'000'000 + 1;
    const std::string content = someBytes(size);
    testsupport::writeWholeFile(path("large"), content);
    share();
    LocalDevice device(devices_->b);
    const auto file = device.file(share_->url("large"));
    ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags); }));
    EXPECT_TRUE(device.elsewhere([&] { return contentOf(*file) == content; }));
    file->close();
}

TEST_F(RemoteFiles, BeyondFourGigabytesAreReadAtTheirEnd)
{
    constexpr std::int64_t kSize = 5LL << 30U;
    {
        std::ofstream sparse(path("sparse"), std::ios::binary);
        sparse.seekp(kSize - 3);
        sparse << "end";
    }
    share();
    LocalDevice device(devices_->b);
    const auto file = device.file(share_->url("sparse"));
    ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags); }));
    EXPECT_EQ(file->size(), kSize);
    EXPECT_TRUE(file->seek(kSize - 5));
    EXPECT_EQ(device.elsewhere([&] { return contentOf(*file); }), std::string("\0\0end", 5));
    file->close();
}

TEST_F(RemoteFiles, AreOnlyReadUnlessSharedForWriting)
{
    testsupport::writeWholeFile(path("there"), "content");
    share();
    LocalDevice device(devices_->b);
    const auto file = device.file(share_->url("there"));
    ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags | eboFile::OpenWrite); }));
    EXPECT_FALSE(device.elsewhere([&] { return file->truncate(0); }));
    EXPECT_EQ(device.elsewhere([&] { return file->write("CON", 3); }), 3) << "waits here to be synced";
    device.elsewhere([&] { return file->sync(); });
    file->close();
    EXPECT_EQ(device.elsewhere([&] { return file->deleteFile(); }), -1);
    const auto missing = device.file(share_->url("missing"));
    EXPECT_FALSE(device.elsewhere([&] { return missing->open(kReadFlags | eboFile::OpenWrite); }));
    EXPECT_EQ(testsupport::readWholeFile(path("there")), "content");
    EXPECT_FALSE(std::filesystem::exists(path("missing")));
}

TEST_F(RemoteFiles, SharedForWritingAreWrittenCutAndDeleted)
{
    testsupport::writeWholeFile(path("there"), someBytes(10000));
    share({QStringLiteral("--writable")});
    LocalDevice device(devices_->b);
    const auto file = device.file(share_->url("there"));
    ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags | eboFile::OpenWrite); }));
    ASSERT_TRUE(file->seek(4090));
    EXPECT_EQ(device.elsewhere([&] { return file->write("across a page", 13); }), 13);
    EXPECT_EQ(device.elsewhere([&] { return file->sync(); }), 0);
    std::string expected = someBytes(10000);
    expected.replace(4090, 13, "across a page");
    EXPECT_TRUE(until([&] { return testsupport::readWholeFile(path("there")) == expected; }));
    EXPECT_TRUE(
        until([&] { return share_->count(QStringLiteral("changed"), QStringLiteral("/there")) == 1; }));
    EXPECT_TRUE(device.elsewhere([&] { return file->truncate(5); }));
    EXPECT_EQ(testsupport::readWholeFile(path("there")), expected.substr(0, 5));
    file->close();
    EXPECT_EQ(device.elsewhere([&] { return file->deleteFile(); }), 0);
    EXPECT_FALSE(std::filesystem::exists(path("there")));
}

TEST_F(RemoteFiles, OfADeviceThatGoesCanNoLongerBeRead)
{
    testsupport::writeWholeFile(path("there"), someBytes(100'000));
    share();
    LocalDevice device(devices_->b);
    const auto file = device.file(share_->url("there"));
    ASSERT_TRUE(device.elsewhere([&] { return file->open(kReadFlags); }));
    char byte = 0;
    EXPECT_EQ(device.elsewhere([&] { return file->read(&byte, 1); }), 1);
    share_->signal(SIGKILL);
    ASSERT_EQ(share_->waitForEnd(), -1);
    EXPECT_TRUE(file->seek(50'000));
    EXPECT_EQ(device.elsewhere([&] { return file->read(&byte, 1); }), -1);
    EXPECT_TRUE(file->hasLostData());
    file->close();
}

}  // namespace
