#pragma once

#include <QProcess>

namespace tunesift::host {

#ifdef __SANITIZE_ADDRESS__
/// AddressSanitizer reserves terabytes in every process.
inline constexpr bool kChildrenCanBeLimited = false;
#else
inline constexpr bool kChildrenCanBeLimited = true;
#endif

/// A process that is protected from what is meant for us, and we from it: it does not end by the keys of our
/// terminal, and it may be limited in memory.
class ChildProcess : public QProcess {
public:
    /// @param bytes  that the child may allocate, 0 for no limit; before start
    void limitMemory(qint64 bytes) noexcept { memoryLimit_ = bytes; }

protected:
    void setupChildProcess() override;

private:
    qint64 memoryLimit_ = 0;
};

}  // namespace tunesift::host
