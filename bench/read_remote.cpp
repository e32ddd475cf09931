#include "network/nfs/FileSharing.h"
#include "runtime/GarbageCollection.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

#include <cstdio>
#include <thread>
#include <vector>

// read_remote URL: waits for the device, then reads the file to its end, page by page. Prints the bytes and
// the microseconds a page.

namespace {

constexpr std::int64_t kPage = 4096;

std::int64_t readAll(eboFile& file)
{
    std::vector<char> page(kPage);
    std::int64_t total = 0;
    for (std::int64_t count = kPage; count > 0; total += count)
        count = file.read(page.data(), kPage);
    return total;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fputs("usage: read_remote URL\n", stderr);
        return 2;
    }
    qputenv("QT_NO_GLIB", "1");
    const QCoreApplication application(argc, argv);
    ebo::GarbageCollection collector;
    collector.start();
    const auto factory = ebo::makeRef<eboNfsFileFactory>();
    FileSharing sharing;
    if (!sharing.bringUp(factory))
        return 1;
    ebo::refptr<eboFile> file;
    while (!file) {
        QCoreApplication::processEvents();
        QThread::msleep(1);
        file = factory->open(argv[1], {});
    }
    std::int64_t total = 0;
    double seconds = 0;
    std::thread reader([&] {
        if (!file->open(eboFile::OpenRead | eboFile::OpenBinary))
            return;
        QElapsedTimer timer;
        timer.start();
        total = readAll(*file);
        seconds = static_cast<double>(timer.nsecsElapsed()) / 1e9;
        file->close();
    });
    reader.join();
    std::printf("%lld %.2f\n", static_cast<long long>(total),
                seconds * 1e6 * static_cast<double>(kPage) / static_cast<double>(total));
    std::fflush(stdout);
    file.reset();
    sharing.tearDown();
    return 0;
}
