// Any path in a request: it leads to the same place as a plain reading of the rules says, and with
// confinement never out of the mounted directory, wherever links stand.

#include "network/nfs/ServedPaths.h"
#include "network/nfs/mappedPath.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

namespace fs = std::filesystem;

/// A folder "m" with ways out of it, beside a secret; gone when the program ends.
class Disk {
public:
    Disk() : root_((fs::temp_directory_path() / "served-path-XXXXXX").string())
    {
        if (::mkdtemp(root_.data()) == nullptr)
            std::abort();
        root_ = fs::canonical(root_).string();
        fs::create_directories(root_ + "/m/d/e");
        fs::create_directories(root_ + "/secret");
        for (const char* name : {"/m/f", "/m/d/f", "/m/a:b", "/m/q?", "/secret/f"})
            std::ofstream(root_ + name) << name;
        fs::create_symlink("../secret", root_ + "/m/out");
        fs::create_symlink("../secret/f", root_ + "/m/d/window");
        fs::create_symlink("d", root_ + "/m/in");
        fs::create_symlink("loop", root_ + "/m/loop");
        fs::create_symlink("/", root_ + "/m/slash");
    }
    ~Disk()
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }
    Disk(const Disk&) = delete;
    Disk& operator=(const Disk&) = delete;

    [[nodiscard]] std::string mount() const { return root_ + "/m"; }

private:
    std::string root_;
};

ServedPaths sharing(const Disk& disk, SharingPolicy policy)
{
    ServedPaths paths;
    paths.setPolicy(policy);
    paths.mount(QUrl::fromLocalFile(QString::fromStdString(disk.mount())), QStringLiteral("m"), 0);
    return paths;
}

/// By itself and with everything on disk followed, a path below the mount.
void checkInside(const QUrl& url, const std::string& mount)
{
    const std::string path = url.toLocalFile().toStdString();
    std::error_code error;
    const std::string real = fs::canonical(path, error).string();
    const auto isBelow = [&mount](const std::string& candidate) {
        return candidate == mount || candidate.rfind(mount + "/", 0) == 0;
    };
    if (!isBelow(path) || (!error && (!isBelow(real) || real != path)))
        __builtin_trap();
    if ((path + "/").find("/../") != std::string::npos)
        __builtin_trap();
}

void checkOpen(const QString& path, const QUrl& url, const std::string& mount)
{
    const QByteArray rest = path.mid(2).toUtf8();  // behind "/m"
    const QByteArray expected = mappedPath(QByteArray::fromStdString(mount) + rest);
    if (url.toLocalFile().toUtf8() != expected || url != QUrl::fromLocalFile(QString::fromUtf8(expected)))
        __builtin_trap();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Disk disk;
    static const ServedPaths open = sharing(disk, {});
    static const ServedPaths confined = sharing(disk, {.confined = true});
    static const ServedPaths kind = sharing(disk, {.confined = true, .readOnly = true, .plainNames = true});
    // As UTF-16, as it travels, and as text.
    const QString raw = QString::fromUtf16(
        reinterpret_cast<const char16_t*>(
            QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size - size % 2)).constData()),
        static_cast<int>(size / 2));
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    for (const QString& path : {raw, text, QStringLiteral("/m/") + raw, QStringLiteral("/m/") + text}) {
        QUrl url;
        if (open.toLocalUrl(path, url) && !url.isEmpty())
            checkOpen(path, url, disk.mount());
        for (const ServedPaths* paths : {&confined, &kind}) {
            QUrl inside;
            if (paths->toLocalUrl(path, inside) && !inside.isEmpty())
                checkInside(inside, disk.mount());
        }
    }
    return 0;
}
