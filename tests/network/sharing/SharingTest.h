#pragma once

#include "app/TestHost.h"
#include "app/protocol/messageIds.h"
#include "network/sharing/ShareProcess.h"
#include "support/AudioFiles.h"
#include "support/NamespaceTest.h"
#include "support/TempDir.h"
#include "support/until.h"

#include <QString>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace sharing {

using testsupport::NetworkNamespace;
using testsupport::NetworkSwitch;
using testsupport::until;

/// A host with a worker in a namespace.
[[nodiscard]] std::unique_ptr<TestHost> hostWithWorker(const NetworkNamespace& place);

/// Device A, with a folder of tracks, at 10.0.0.1; device B, where the worker runs, at 10.0.0.2; and a
/// switch.
struct TwoDevices {
    TwoDevices();

    /// Lets so much out of device A and no more, as in "10mbit".
    void limitRate(const QString& rate) const;

    /// A host with a worker on device B.
    [[nodiscard]] std::unique_ptr<TestHost> hostOnB() const;

    /// Whether no TCP connection is left on device B but the worker's own with its host.
    [[nodiscard]] bool isQuietOnB() const;

    NetworkSwitch wire;
    NetworkNamespace a;
    NetworkNamespace b;
    testsupport::TempDir folder;
};

/// Two devices, one of which shares a folder of tracks.
class SharingTest : public testsupport::NamespaceTest {
protected:
    /// A click track in the folder. @return its whole path
    static std::string clicks(const TwoDevices& devices, const std::string& name, double seconds);

    /// What a local run of the file gives.
    static std::vector<Message> localRun(const std::string& path);

    /// Expects the same messages, byte for byte.
    static void expectSame(const std::vector<Message>& remote, const std::vector<Message>& local);

    /// The worker ends well when told to quit.
    static void expectQuits(TestHost& host);
};

/// A number of a process from /proc: threads, open descriptors, resident KiB.
[[nodiscard]] int threadsOf(qint64 processId);
[[nodiscard]] int descriptorsOf(qint64 processId);
[[nodiscard]] long residentKiBOf(qint64 processId);

}  // namespace sharing
