#pragma once

#include <boost/filesystem/path.hpp>

/// The device's internal storage.
inline constexpr const char* kInternalStorage = "/media/qx07-internal";

/// The folder for temporary files, "OrluneTempFiles" below the given one; made if it is not there yet.
/// @throws boost::filesystem::filesystem_error if it cannot be made
[[nodiscard]] boost::filesystem::path tempFolderPath(const boost::filesystem::path& base = kInternalStorage);
