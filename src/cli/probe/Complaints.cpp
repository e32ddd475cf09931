#include "cli/probe/Complaints.h"

#include <QString>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>

extern "C" {
#include <libavutil/log.h>
}

namespace tunesift::probe {
namespace {

// A file that is damaged all over says the same thing again and again, in other numbers.
constexpr int kMost = 10;

std::mutex mutex;
QStringList gathered;  // guarded by mutex

void gather(const QString& text)
{
    const std::lock_guard guard(mutex);
    if (!text.isEmpty() && gathered.size() < kMost && !gathered.contains(text))
        gathered << text;
}

void onDecoderLog(void* /*context*/, int level, const char* format, va_list arguments)
{
    if (level > AV_LOG_ERROR)
        return;
    std::array<char, 512> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    gather(QString::fromUtf8(text.data()).simplified());
}

void onQtLog(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    if (type == QtWarningMsg || type == QtCriticalMsg)
        gather(text.simplified());
}

}  // namespace

Complaints::Complaints()
{
    gathered.clear();
    av_log_set_callback(&onDecoderLog);
    qInstallMessageHandler(&onQtLog);
}

Complaints::~Complaints()
{
    qInstallMessageHandler(nullptr);
    av_log_set_callback(&av_log_default_callback);
}

QStringList Complaints::texts() const
{
    const std::lock_guard guard(mutex);
    return gathered;
}

}  // namespace tunesift::probe
