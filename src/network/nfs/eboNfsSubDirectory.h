#pragma once

#include "network/nfs/DirectoryContentHandle.h"
#include "network/nfs/DirectoryWatch.h"
#include "network/nfs/eboNfsLocalDirectory.h"
#include "runtime/weakptr.h"

#include <QStringList>
#include <QTimer>

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>

/// A directory below a mounted one, or a mounted one itself, as others look at it. Every look gets the names
/// in pages, a page a turn, and all of them anew when the file system tells of a change. Network thread.
class eboNfsSubDirectory : public eboNfsLocalDirectory {
    Q_OBJECT

public:
    /// Names in one message: it stays below the size of a packet with names of any length, and a turn short.
    static constexpr int kNamesPerPage = 100;

    /// @param contents  reads the directory at the local URL
    /// @param watch     of all served directories
    eboNfsSubDirectory(QUrl url, eboUtils::file::DirectoryContentHandle contents,
                       std::shared_ptr<DirectoryWatch> watch);
    ~eboNfsSubDirectory() override;

    [[nodiscard]] QUrl url() const override { return url_; }

    /// Also begins to watch the directory, if it is there by now.
    void registerListeningHost(const HostRef& host, unsigned int objectId) override;
    void releaseObject(const HostRef& host, unsigned int objectId) override;
    void unregisterListeningHost(const HostRef& host) override;
    [[nodiscard]] QStringList entryList(int filter) const override;
    void process(bool& more) override;

public Q_SLOTS:
    /// Lists the directory again, and lets all start over if that differs from the last time.
    void onDirectoryContentChanged(const QString& directory);

private Q_SLOTS:
    void onWatched(const QString& directory);
    void onSettled();
    void onBytesWritten();

private:
    class Remote;

    void watchFor(const eboNfsHost* host);

    const QUrl url_;
    const eboUtils::file::DirectoryContentHandle contents_;
    bool needsProcessing_ = false;
    std::list<std::shared_ptr<Remote>> remotes_;
    const std::shared_ptr<DirectoryWatch> watch_;
    std::map<const eboNfsHost*, DirectoryWatch::Ticket> tickets_;  // while they look
    /// Not listed yet: nothing that a first change could be compared with.
    std::optional<QStringList> lastEntries_;
    QTimer settling_;  // gathers the many changes of a copy in progress
    bool changedMeanwhile_ = false;
};
