#pragma once

#include <QByteArray>
#include <QtEndian>

#include <cstring>

namespace tunesift::host {

/// Walks over a payload number by number and never past its end: a read beyond it gives 0 and turns the
/// reader bad for good. Borrows the bytes.
class ByteReader {
public:
    explicit ByteReader(const QByteArray& bytes) noexcept : bytes_(bytes) {}

    /// False once a read went past the end.
    [[nodiscard]] bool isGood() const noexcept { return good_; }

    /// True if everything was read and nothing was missing.
    [[nodiscard]] bool isAtEnd() const noexcept { return good_ && position_ == bytes_.size(); }

    /// Bytes not yet read.
    [[nodiscard]] qint64 remaining() const noexcept { return bytes_.size() - position_; }

    template <typename T>
    T bigEndian() noexcept
    {
        const char* at = take(sizeof(T));
        return at != nullptr ? qFromBigEndian<T>(at) : T{};
    }

    template <typename T>
    T littleEndian() noexcept
    {
        const char* at = take(sizeof(T));
        return at != nullptr ? qFromLittleEndian<T>(at) : T{};
    }

    /// Copies `size` bytes to `target`, which stays as it is if they are not there.
    void raw(void* target, qint64 size) noexcept
    {
        if (const char* at = take(size); at != nullptr && size > 0)
            std::memcpy(target, at, static_cast<std::size_t>(size));
    }

    void skip(qint64 size) noexcept { take(size); }

private:
    const char* take(qint64 size) noexcept
    {
        if (!good_ || size < 0 || size > remaining()) {
            good_ = false;
            return nullptr;
        }
        const char* at = bytes_.constData() + position_;
        position_ += static_cast<int>(size);
        return at;
    }

    const QByteArray& bytes_;
    int position_ = 0;
    bool good_ = true;
};

}  // namespace tunesift::host
