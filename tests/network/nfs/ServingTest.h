#pragma once

#include "network/nfs/NfsTest.h"
#include "network/nfs/SharingPolicy.h"
#include "network/nfs/eboStdFileWitNfsNotification.h"
#include "support/AudioFiles.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/eventually.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace nfstest {

/// Opens local files as the process does: what changes through them is told to file sharing.
class NotifyingFactory : public eboFileFactory {
public:
    void tell(const ebo::refptr<eboNfs>& nfs) { nfs_ = nfs; }

    /// Files of that path are opened as the test wants them. Before they are.
    void replace(const std::string& path, const ebo::refptr<eboFile>& file) { replaced_[path] = file; }

    ebo::refptr<eboFile> open(const char* path, Options options) override
    {
        const auto replaced = replaced_.find(path);
        const auto file =
            replaced != replaced_.end() ? replaced->second : eboFileFactory::open(path, options);
        return ebo::makeRef<eboStdFileWitNfsNotification>(nfs_, file, false);
    }

private:
    ebo::weakptr<eboNfs> nfs_;
    std::map<std::string, ebo::refptr<eboFile>> replaced_;
};

/// Our device shares a folder of its own as "/music"; the test asks for things in it.
class ServingTest : public NfsTest {
protected:
    static constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

    ServingTest() { std::filesystem::create_directories(music()); }

    ebo::refptr<eboFileFactory> makeFactory() override { return notifyingFactory_; }

    /// Shares the folder; before the first device joins.
    void share(SharingPolicy policy = {}, qint64 limit = kNoLimit)
    {
        notifyingFactory_->tell(nfs());
        onNetworkThread([&] {
            root().setPolicy(policy);
            root().mountDirectory(urlOf(music()), QStringLiteral("music"), limit);
        });
    }

    /// A file of that content in the folder. @return its path
    std::string put(const std::string& name, const std::string& content) const
    {
        std::string path = music() + "/" + name;
        testsupport::writeWholeFile(path, content);
        return path;
    }
    [[nodiscard]] std::string content(const std::string& name) const
    {
        return testsupport::readWholeFile(music() + "/" + name);
    }

    /// Opens a file for the device under that number, and expects it to be open with that size.
    static void open(Device& device, std::uint32_t object, const std::u16string& path, std::int64_t size)
    {
        device.peer.send(peer::nfs::fileRequest(object, path));
        ASSERT_EQ(device.peer.next(), peer::nfs::fileInfo(object, size));
    }

    /// Waits until serving rests, and expects that the device has been sent no more than it has read.
    void expectNothingMore(Device& device)
    {
        settle();
        EXPECT_TRUE(testsupport::eventually([this] {
            settle();
            return !nfs()->isProcessingPending();
        }));
        device.peer.send(peer::nfs::infoRequest(kProbe, u"/no such mount"));
        EXPECT_EQ(device.peer.next().substr(0, 12), peer::nfs::header(kProbe, 1));
    }

    [[nodiscard]] eboNfsRootDirectory& root() { return *nfs()->rootDirectory(); }
    [[nodiscard]] ebo::refptr<eboNfsHost> hostOf(const Device& device)
    {
        ebo::refptr<eboNfsHost> host;
        EXPECT_TRUE(nfs()->findHost(QUrl(device.url(QStringLiteral("/"))), host));
        return host;
    }

    static QUrl urlOf(const std::string& path) { return QUrl::fromLocalFile(QString::fromStdString(path)); }
    [[nodiscard]] const std::string& dir() const { return root_; }
    [[nodiscard]] std::string music() const { return root_ + "/music"; }

    const ebo::refptr<NotifyingFactory> notifyingFactory_ = ebo::makeRef<NotifyingFactory>();

private:
    static constexpr std::uint32_t kProbe = 99999;

    testsupport::TempDir temporary_;
    const std::string root_ = std::filesystem::canonical(temporary_.path()).string();
};

/// Whether a line of the log contains the text.
inline bool hasText(const testsupport::LogCapture& log, const std::string& text)
{
    const auto lines = log.texts();
    return std::any_of(lines.begin(), lines.end(),
                       [&text](const std::string& line) { return line.find(text) != std::string::npos; });
}

/// A block of bytes that can be told from its neighbours.
inline std::string block(char fill, std::size_t size = 4096)
{
    std::string bytes(size, fill);
    return bytes;
}

}  // namespace nfstest
