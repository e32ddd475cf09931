#pragma once

#include "network/nfs/NfsTest.h"
#include "network/nfs/eboNfsFile.h"
#include "network/nfs/eboNfsFileAdapter.h"

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <thread>

namespace nfstest {

inline constexpr std::int32_t kFileRequest = 2004;
inline constexpr std::int32_t kDataRequest = 2005;
inline constexpr std::int32_t kFileRelease = 2006;
inline constexpr std::int32_t kWriteRequest = 2007;
inline constexpr std::int32_t kSyncRequest = 2008;
inline constexpr std::int32_t kLockRequest = 2009;
inline constexpr std::int32_t kTruncateRequest = 2010;
inline constexpr std::int32_t kDeleteRequest = 2011;

/// One file on another device, whose side the test plays.
class ClientTest : public NfsTest {
protected:
    using Adapter = ebo::refptr<eboNfsFileAdapter>;

    ClientTest();
    ~ClientTest() override;

    /// A closed adapter on the file, as a factory makes it.
    [[nodiscard]] Adapter adapter();

    /// An adapter that the device has let open a file of that size.
    [[nodiscard]] Adapter opened(std::int64_t size,
                                 eboFile::OpenFlags flags = eboFile::OpenRead | eboFile::OpenBinary);

    /// Runs on a thread of its own.
    template <typename Function>
    static auto async(Function function)
    {
        return std::async(std::launch::async, std::move(function));
    }

    /// What a read of so many bytes returns: the bytes, or "failed".
    static std::string readFrom(eboFile& file, std::size_t size);

    /// The read on a thread of its own.
    static std::future<std::string> reading(const Adapter& from, std::size_t size);

    /// Expects a request for exactly this block.
    void expectRequest(std::uint64_t block);

    /// Sends the block of that content.
    void answer(std::uint64_t block, const std::string& content);

    /// Expects a message of that type for the file; its body.
    peer::nfs::Parser expect(std::int32_t type);

    /// That the device has been sent nothing that it has not read.
    void expectSilence();

    /// Waits until the file has heard everything that the peer has sent; changes its length.
    void awaitArrival();

    [[nodiscard]] NfsPeer& peer() { return device_->peer; }
    [[nodiscard]] std::uint32_t object() const { return file_->objectId(); }

    std::unique_ptr<Device> device_;
    ebo::refptr<eboNfsFile> file_;
};

/// So many bytes, none of which is like its neighbours in this or other pages.
[[nodiscard]] std::string someBytes(std::size_t size);

/// The other device answering by itself: the data of one file, and every lock and length that is asked for.
class ServingPeer {
public:
    /// @param answers  how often each request is answered
    ServingPeer(NfsPeer& peer, std::string content, int answers = 1);
    ~ServingPeer();
    ServingPeer(const ServingPeer&) = delete;
    ServingPeer& operator=(const ServingPeer&) = delete;

    std::atomic<int> dataRequests{0};

private:
    void serve(const peer::Bytes& request);

    NfsPeer& peer_;
    const std::string content_;
    const int answers_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace nfstest
