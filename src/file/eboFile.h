#pragma once

#include "file/eboFileLock.h"
#include "runtime/refcounted.h"
#include "runtime/refptr.h"

#include <QFlags>

#include <cstdint>

/// A file, local or on another host: what every byte of a track is read through. Starts closed; may be opened
/// and closed again and again. One object may be used from several threads; a thread that wants a position of
/// its own uses a clone.
class eboFile : public virtual ebo::refcounted {
public:
    /// How a file is opened; any of these together.
    enum OpenFlag : int {
        OpenAppend = 1,    ///< Every write goes to the end.
        OpenAtEnd = 2,     ///< For remote files: start at the end. A local file ignores it.
        OpenBinary = 4,    ///< Without it, line ends are translated.
        OpenRead = 8,      ///< Read access.
        OpenWrite = 16,    ///< Write access; opens at the end. Without OpenRead it empties the file.
        OpenTruncate = 32  ///< Empties the file.
    };
    Q_DECLARE_FLAGS(OpenFlags, OpenFlag)

    /// The path that the factory was given, valid for as long as the file lives.
    [[nodiscard]] virtual const char* filePath() const = 0;

    /// Opens as the flags say. False, with nothing changed, if that fails or the file is open already.
    virtual bool open(OpenFlags flags) = 0;

    /// Closes; does nothing on a closed file.
    virtual void close() = 0;

    /// Another file object, closed, of the same path and in the same group of locks.
    [[nodiscard]] virtual ebo::refptr<eboFile> clone() = 0;

    /// Reads at the position and moves it. @return bytes read, 0 at the end, negative on failure. Fewer than
    /// asked for are the rest of the file, or what could be had of it: hasLostData tells them apart.
    virtual std::int64_t read(void* buffer, std::int64_t size) = 0;

    /// Writes at the position and moves it. @return bytes written, negative on failure
    virtual std::int64_t write(const void* data, std::int64_t size) = 0;

    /// Moves the position for reading and writing, in bytes from the start.
    virtual bool seek(std::int64_t position) = 0;

    /// Hands earlier writes on and makes the file clean. @return 0, or -1 on failure
    virtual int sync() = 0;

    /// Pushes buffers out; the file stays as dirty as it was. @return 0, or -1 on failure
    virtual int flush() = 0;

    /// The position in bytes.
    [[nodiscard]] virtual std::int64_t pos() const = 0;

    /// The length in bytes, at this moment; the last one known if it cannot be had.
    [[nodiscard]] virtual std::int64_t size() const = 0;

    [[nodiscard]] virtual bool isReadable() const = 0;
    [[nodiscard]] virtual bool isWritable() const = 0;

    /// Sets the length in bytes.
    virtual bool truncate(std::int64_t newSize) = 0;

    /// Removes the file, closing it first. @return 0, or -1 on failure
    virtual int deleteFile() = 0;

    /// Asks for a level of the lock, up or down; see eboFileLock.
    virtual eboFileLock::LockResult lock(eboFileLock::Level level) = 0;

    /// The level that this object holds.
    [[nodiscard]] virtual eboFileLock::Level lockLevel() const = 0;

    /// Whether the position has reached the length.
    [[nodiscard]] virtual bool atEnd() const { return pos() >= size(); }

    /// Whether something was written since the last sync.
    [[nodiscard]] virtual bool isDirty() const = 0;

    /// The unit, in bytes, in which this file is best read and written.
    [[nodiscard]] virtual unsigned int blockSize() const = 0;

    /// Whether something of the file could not be had: its device has gone, or cannot read it. A read gave
    /// less, or other bytes, than the file has. Stays true from then on.
    [[nodiscard]] virtual bool hasLostData() const { return false; }
};

Q_DECLARE_OPERATORS_FOR_FLAGS(eboFile::OpenFlags)
