#include "support/LogCapture.h"

#include <QString>

namespace testsupport {
namespace {

LogCapture* current = nullptr;

}  // namespace

LogCapture::LogCapture()
{
    current = this;
    previous_ = qInstallMessageHandler(&LogCapture::handler);
}

LogCapture::~LogCapture()
{
    qInstallMessageHandler(previous_);
    current = nullptr;
}

void LogCapture::handler(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    const std::lock_guard guard(current->mutex_);
    current->entries_.push_back(
        {type, context.category != nullptr ? context.category : "", text.toStdString()});
}

std::vector<LogCapture::Entry> LogCapture::entries() const
{
    const std::lock_guard guard(mutex_);
    return entries_;
}

std::vector<std::string> LogCapture::texts() const
{
    std::vector<std::string> result;
    for (const Entry& entry : entries())
        result.push_back(entry.text);
    return result;
}

}  // namespace testsupport
