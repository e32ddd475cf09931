#include "support/LogCapture.h"

#include <QString>

#include <algorithm>

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

bool LogCapture::contains(const std::string& part) const
{
    const std::lock_guard guard(mutex_);
    return std::any_of(entries_.begin(), entries_.end(),
                       [&part](const Entry& entry) { return entry.text.find(part) != std::string::npos; });
}

}  // namespace testsupport
