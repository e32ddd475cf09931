#include "cli/rows/pathText.h"

#include <algorithm>
#include <array>

namespace tunesift::cli {
namespace {

constexpr ushort kEscapes = 0xDC00;  // a low surrogate that follows no high one means a byte
constexpr int kFirstEscaped = 0x80;

/// How many bytes the character takes that begins here; 0 if none does.
int characterSize(const QByteArray& bytes, int at)
{
    constexpr int kLongest = 4;
    for (int size = 1; size <= kLongest && at + size <= bytes.size(); ++size) {
        // A character in front keeps Qt from taking a byte order mark away.
        const QByteArray candidate = 'x' + bytes.mid(at, size);
        if (!QString::fromUtf8(candidate).contains(QChar::ReplacementCharacter))
            return size;
    }
    constexpr const char* kReplacement = "\xEF\xBF\xBD";  // may stand in a name of its own right
    return bytes.mid(at, 3) == kReplacement ? 3 : 0;
}

bool isEscape(const QString& text, int at)
{
    const ushort unit = text[at].unicode();
    return unit >= kEscapes + kFirstEscaped && unit <= kEscapes + 0xFF &&
           (at == 0 || !text[at - 1].isHighSurrogate());
}

}  // namespace

QString textOfBytes(const QByteArray& bytes)
{
    if (isReadable(bytes))
        return QString::fromUtf8(bytes);
    QString text;
    for (int at = 0; at < bytes.size();) {
        const int size = characterSize(bytes, at);
        if (size == 0)
            text += QChar(static_cast<ushort>(kEscapes + static_cast<uchar>(bytes[at])));
        else
            text += QString::fromUtf8('x' + bytes.mid(at, size)).mid(1);
        at += std::max(size, 1);
    }
    return text;
}

QByteArray bytesOfText(const QString& text)
{
    QByteArray bytes;
    int plainFrom = 0;
    for (int at = 0; at < text.size(); ++at) {
        if (!isEscape(text, at))
            continue;
        bytes += text.mid(plainFrom, at - plainFrom).toUtf8();
        bytes += static_cast<char>(text[at].unicode() - kEscapes);
        plainFrom = at + 1;
    }
    return bytes + text.mid(plainFrom).toUtf8();
}

QString readablePath(const QByteArray& path) { return QString::fromUtf8(path); }

bool isReadable(const QByteArray& path) { return QString::fromUtf8(path).toUtf8() == path; }

QByteArray extensionOf(const QByteArray& path)
{
    const QByteArray name = path.mid(path.lastIndexOf('/') + 1);
    const int dot = name.lastIndexOf('.');
    return dot < 0 ? QByteArray() : name.mid(dot + 1).toLower();
}

bool hasKnownExtension(const QByteArray& path)
{
    static constexpr std::array kKnown{"wav", "aif", "aiff", "flac", "oga",
                                       "ogg", "mp3", "m4a",  "mp4",  "aac"};
    const QByteArray extension = extensionOf(path);
    return std::any_of(kKnown.begin(), kKnown.end(), [&](const char* known) { return extension == known; });
}

bool isOnAnotherDevice(const QByteArray& path)
{
    return path.startsWith("net://") || path.startsWith("/net:/");
}

}  // namespace tunesift::cli
