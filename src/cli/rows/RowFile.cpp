#include "cli/rows/RowFile.h"

#include "cli/rows/jsonReport.h"
#include "cli/rows/pathText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tunesift::cli {
namespace {

constexpr mode_t kNewFileMode = 0666;  // what the umask leaves of it

QString errnoText() { return QString::fromLocal8Bit(std::strerror(errno)); }

/// Bytes; 0 also for what has no length, such as a pipe.
qint64 sizeOf(int descriptor)
{
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
}

QByteArray readAt(int descriptor, qint64 from, qint64 size)
{
    QByteArray bytes(static_cast<int>(size), '\0');
    qint64 done = 0;
    while (done < size) {
        const ssize_t count =
            pread(descriptor, bytes.data() + done, static_cast<std::size_t>(size - done), from + done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += count;
    }
    bytes.truncate(static_cast<int>(done));
    return bytes;
}

}  // namespace

RowFile::~RowFile()
{
    if (isOpen())
        close(descriptor_);
}

std::optional<QString> RowFile::open(const QString& path)
{
    descriptor_ =
        ::open(bytesOfText(path).constData(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, kNewFileMode);
    if (!isOpen())
        return errnoText();
    // File systems without locks say so, and have to do without.
    if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return QStringLiteral("another process is writing to it");
    return mendTheEnd();
}

std::optional<QString> RowFile::mendTheEnd()
{
    // Longer than any row.
    constexpr qint64 kTail = qint64{1} << 20;
    const qint64 size = sizeOf(descriptor_);
    const qint64 from = std::max(qint64{0}, size - kTail);
    const QByteArray tail = readAt(descriptor_, from, size - from);
    if (tail.isEmpty() || tail.endsWith('\n'))
        return {};
    const int lineStart = tail.lastIndexOf('\n') + 1;
    const QByteArray rest = tail.mid(lineStart);
    const QByteArray start = kRowStart;
    if (!rest.startsWith(start) && !start.startsWith(rest))
        return append("\n");
    if (ftruncate(descriptor_, from + lineStart) != 0)
        return errnoText();
    return {};
}

bool RowFile::isEmpty() const { return sizeOf(descriptor_) == 0; }

QByteArray RowFile::content() const { return readAt(descriptor_, 0, sizeOf(descriptor_)); }

std::optional<QString> RowFile::append(const QByteArray& lines)
{
    const qint64 before = sizeOf(descriptor_);
    qint64 done = 0;
    while (done < lines.size()) {
        const ssize_t count =
            write(descriptor_, lines.constData() + done, static_cast<std::size_t>(lines.size() - done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0) {
            const QString problem = errnoText();
            if (done > 0 && before > 0) [[maybe_unused]]
                const int ignored = ftruncate(descriptor_, before);
            return problem;
        }
        done += count;
    }
    return {};
}

}  // namespace tunesift::cli
