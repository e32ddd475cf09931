#include "file/tempFolderPath.h"

#include "runtime/logCategories.h"

#include <QString>

#include <boost/filesystem/operations.hpp>

#include <cerrno>

#include <sys/stat.h>

namespace {

constexpr mode_t kFolderMode = 0777;

}  // namespace

boost::filesystem::path tempFolderPath(const boost::filesystem::path& base)
{
    namespace fs = boost::filesystem;
    fs::path folder = base / "OrluneTempFiles";
    boost::system::error_code ignored;
    if (fs::exists(folder, ignored))
        return folder;

    const QString name = QString::fromStdString(folder.string());
    qCInfo(ebo::log::fileStd) << "Creating temp folder for temp files:" << name;
    if (::mkdir(folder.c_str(), kFolderMode) == 0)
        return folder;
    const int error = errno;
    if (!fs::is_directory(folder, ignored))
        throw fs::filesystem_error("boost::filesystem::create_directory", folder,
                                   boost::system::error_code(error, boost::system::system_category()));
    // Somebody else has made it in between.
    qCCritical(ebo::log::fileStd) << "Failed to create temp files folder:" << name;
    return folder;
}
