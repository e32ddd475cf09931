// Two devices of ours that use the same files of a third at once: their locks, and what each sees of the
// other's writes.

#include "network/nfs/FileSharing.h"
#include "network/sharing/SharingTest.h"
#include "runtime/GarbageCollection.h"
#include "runtime/deferredDeletions.h"

#include <QTimer>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <future>
#include <string>

namespace {

using namespace sharing;

/// This process as one of several devices.
struct Client {
    Client() = default;
    ~Client() { sharing.tearDown(); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    void comeUp()
    {
        const NetworkNamespace::Visit visit(place);
        EXPECT_TRUE(sharing.bringUp(factory));
    }

    ebo::refptr<eboFile> file(const QByteArray& url) const
    {
        ebo::refptr<eboFile> result;
        EXPECT_TRUE(until([&] {
            result = factory->open(url.constData(), {});
            return bool(result);
        }));
        return result;
    }

    NetworkNamespace place;
    ebo::refptr<eboNfsFileFactory> factory = ebo::makeRef<eboNfsFileFactory>();
    FileSharing sharing;
};

/// Runs on another thread, as users of files do, while this one takes care of the network.
template <typename Function>
auto elsewhere(Function function)
{
    QTimer look;
    look.start(std::chrono::milliseconds(2));
    auto result = std::async(std::launch::async, std::move(function));
    EXPECT_TRUE(
        until([&] { return result.wait_for(std::chrono::milliseconds(1)) == std::future_status::ready; }));
    return result.get();
}

class TwoClients : public SharingTest {
protected:
    static constexpr eboFile::OpenFlags kFlags = eboFile::OpenRead | eboFile::OpenWrite | eboFile::OpenBinary;

    void SetUp() override
    {
        SharingTest::SetUp();
        if (IsSkipped())
            return;
        devices_ = std::make_unique<TwoDevices>();
        testsupport::writeWholeFile(path(), std::string(10'000, 'a'));
        share_ = std::make_unique<ShareProcess>(devices_->a, QString::fromStdString(devices_->folder.path()),
                                                QStringList{QStringLiteral("--writable")});
        collector_ = std::make_unique<ebo::GarbageCollection>();
        collector_->start();
        for (int i = 0; i < 2; ++i) {
            auto& client = clients_.at(static_cast<std::size_t>(i));
            client = std::make_unique<Client>();
            devices_->wire.plug(client->place, QStringLiteral("eth0"),
                                {QStringLiteral("10.0.0.%1/24").arg(10 + i)});
            client->comeUp();
        }
        for (std::size_t i = 0; i < 2; ++i) {
            files_.at(i) = clients_.at(i)->file(share_->url("there"));
            ASSERT_TRUE(elsewhere([&] { return files_.at(i)->open(kFlags); }));
        }
    }

    void TearDown() override
    {
        for (auto& file : files_) {
            if (file)
                elsewhere([&] {
                    file->close();
                    return true;
                });
            file.reset();
        }
        for (auto& client : clients_)
            client.reset();
        ebo::deliverDeferredDeletions();
        collector_.reset();
    }

    std::string path() const { return devices_->folder.file("there"); }

    eboFileLock::LockResult lock(std::size_t client, eboFileLock::Level level)
    {
        return elsewhere([&] { return files_.at(client)->lock(level); });
    }

    std::string read(std::size_t client, std::int64_t position, std::size_t size)
    {
        return elsewhere([&] {
            std::string bytes(size, '\0');
            eboFile& file = *files_.at(client);
            if (!file.seek(position))
                return std::string("no such place");
            const auto count = file.read(bytes.data(), static_cast<std::int64_t>(size));
            bytes.resize(static_cast<std::size_t>(std::max<std::int64_t>(count, 0)));
            return bytes;
        });
    }

    std::unique_ptr<TwoDevices> devices_;
    std::unique_ptr<ShareProcess> share_;
    std::unique_ptr<ebo::GarbageCollection> collector_;
    std::array<std::unique_ptr<Client>, 2> clients_;
    std::array<ebo::refptr<eboFile>, 2> files_;
};

TEST_F(TwoClients, LocksOfOneStandAgainstThoseOfTheOther)
{
    using Level = eboFileLock::Level;
    const std::array<Level, 4> levels{eboFileLock::Unlocked, eboFileLock::Shared, eboFileLock::Reserved,
                                      eboFileLock::Exclusive};
    // Rows: what the first one holds; columns: what the other asks for.
    constexpr bool kGranted[4][4] = {{true, true, true, true},
                                     {true, true, true, false},
                                     {true, true, false, false},
                                     {true, false, false, false}};
    for (const std::size_t holder : {0U, 1U}) {
        const std::size_t other = 1 - holder;
        for (std::size_t held = 0; held < levels.size(); ++held) {
            for (std::size_t asked = 0; asked < levels.size(); ++asked) {
                SCOPED_TRACE(testing::Message() << holder << " holds " << held << ", asked for " << asked);
                ASSERT_EQ(lock(holder, levels.at(held)), eboFileLock::SUCCESS);
                EXPECT_EQ(lock(other, levels.at(asked)),
                          kGranted[held][asked] ? eboFileLock::SUCCESS : eboFileLock::BUSY);
                EXPECT_EQ(files_.at(other)->lockLevel(),
                          kGranted[held][asked] ? levels.at(asked) : eboFileLock::Unlocked);
                EXPECT_EQ(lock(other, eboFileLock::Unlocked), eboFileLock::SUCCESS);
                EXPECT_EQ(lock(holder, eboFileLock::Unlocked), eboFileLock::SUCCESS);
            }
        }
    }
}

TEST_F(TwoClients, WhatOneWritesTheOtherHearsOfAndReads)
{
    for (const std::size_t writer : {0U, 1U}) {
        SCOPED_TRACE(writer);
        const std::size_t reader = 1 - writer;
        ASSERT_EQ(read(reader, 5000, 3).size(), 3U) << "its page is in the reader's cache from now on";
        std::atomic<int> notices = 0;
        const auto listening = QObject::connect(clients_.at(reader)->sharing.nfs().get(),
                                                &eboNfs::fileChanged, [&] { ++notices; });
        const std::string text = writer == 0 ? "one" : "two";
        ASSERT_TRUE(files_.at(writer)->seek(5000));
        ASSERT_EQ(elsewhere([&] { return files_.at(writer)->write(text.data(), 3); }), 3);
        ASSERT_EQ(elsewhere([&] { return files_.at(writer)->sync(); }), 0);
        EXPECT_TRUE(until([&] { return notices > 0; }));
        EXPECT_EQ(read(reader, 5000, 3), text);
        EXPECT_EQ(read(reader, 4999, 1), "a");
        EXPECT_EQ(testsupport::readWholeFile(path()).substr(5000, 3), text);
        QObject::disconnect(listening);
    }
    // Growing and shrinking.
    const auto sees = [&](std::int64_t size) { return until([&] { return files_[1]->size() == size; }); };
    ASSERT_TRUE(files_[0]->seek(10'000));
    ASSERT_EQ(elsewhere([&] { return files_[0]->write("more", 4); }), 4);
    ASSERT_EQ(elsewhere([&] { return files_[0]->sync(); }), 0);
    EXPECT_TRUE(sees(10'004));
    EXPECT_EQ(read(1, 9'998, 10), "aamore");
    ASSERT_TRUE(elsewhere([&] { return files_[0]->truncate(4'097); }));
    EXPECT_TRUE(sees(4'097));
    EXPECT_EQ(read(1, 4'095, 10), "aa");
}

}  // namespace
