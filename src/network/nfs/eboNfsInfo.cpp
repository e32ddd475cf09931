#include "network/nfs/eboNfsInfo.h"

#include "network/nfs/netUrl.h"

#include <QMutexLocker>

#include <utility>

using eboNfsMessages::Message;

namespace {

constexpr qint64 kTrustMilliseconds = 1000;
constexpr unsigned long kWaitMilliseconds = 500;
constexpr int kWaitsPerRequest = 2;

}  // namespace

eboNfsInfo::eboNfsInfo(std::uint32_t objectId, const ebo::refptr<eboNfsHost>& host, QUrl url)
    : eboNfsObject(objectId, host), url_(std::move(url))
{}

bool eboNfsInfo::refresh()
{
    if (isUnavailable())
        return false;
    QMutexLocker locker(&answerMutex_);
    const bool wasAskedJustNow = lastRefresh_.isValid() && lastRefresh_.elapsed() < kTrustMilliseconds;
    if (wasAskedJustNow && answer_.type != eboNfsMessages::kInvalid)
        return true;
    // Another thread may have asked and still wait: then this one waits for the same answer.
    int waits = wasAskedJustNow ? 1 : 0;
    if (!wasAskedJustNow) {
        lastRefresh_.start();
        answer_.type = eboNfsMessages::kInvalid;
    }
    for (; answer_.type == eboNfsMessages::kInvalid && !isUnavailable(); ++waits) {
        if (waits % kWaitsPerRequest == 0) {
            locker.unlock();  // the answer must get in while the request goes out
            sendRequest();
            locker.relock();
            if (answer_.type != eboNfsMessages::kInvalid || isUnavailable())
                break;
        }
        answerArrived_.wait(&answerMutex_, kWaitMilliseconds);
    }
    locker.unlock();
    return !isUnavailable();
}

void eboNfsInfo::sendRequest()
{
    Message request(eboNfsMessages::eInfoRequest, objectId());
    request.path = eboNetUrl::pathOf(url_);
    const auto receiver = host();
    if (!receiver)
        setIsUnavailable();
    else
        receiver->sendMessage(request);
}

void eboNfsInfo::messageReceived(const Message& message)
{
    if (message.type != eboNfsMessages::eInfo)
        return;
    const QMutexLocker locker(&answerMutex_);
    answer_ = message;
    answerArrived_.wakeAll();
}

void eboNfsInfo::setIsUnavailable()
{
    eboNfsObject::setIsUnavailable();
    const QMutexLocker locker(&answerMutex_);  // so that nobody is between looking and waiting
    answerArrived_.wakeAll();
}

Message eboNfsInfo::answer() const
{
    const QMutexLocker locker(&answerMutex_);
    return answer_;
}

bool eboNfsInfo::exists() const { return answer().exists; }
bool eboNfsInfo::isDir() const { return answer().isDir; }
std::int32_t eboNfsInfo::flags() const { return answer().flags; }
QDateTime eboNfsInfo::ctime() const { return answer().ctime; }
QDateTime eboNfsInfo::mtime() const { return answer().mtime; }
QDateTime eboNfsInfo::atime() const { return answer().atime; }
std::int64_t eboNfsInfo::size() const { return answer().size; }
