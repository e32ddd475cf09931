#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace testsupport {

/// A folder of its own for one test, gone with all its contents when this goes.
class TempDir {
public:
    TempDir() : path_((std::filesystem::temp_directory_path() / "tunesift-test-XXXXXX").string())
    {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::runtime_error("cannot make a temporary folder like " + path_);
    }

    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

    /// The path of the file of the given name in the folder.
    [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

}  // namespace testsupport
