#pragma once

#include <QTemporaryDir>

#include <stdexcept>
#include <string>

namespace testsupport {

/// A folder of its own for one test, gone with all its contents when this goes.
class TempDir {
public:
    TempDir()
    {
        if (!dir_.isValid())
            throw std::runtime_error("no temporary folder: " + dir_.errorString().toStdString());
    }

    [[nodiscard]] std::string path() const { return dir_.path().toStdString(); }

    /// The path of the file of the given name in the folder.
    [[nodiscard]] std::string file(const std::string& name) const { return path() + "/" + name; }

private:
    QTemporaryDir dir_;
};

}  // namespace testsupport
