#include "runtime/freeze/TimerProbe.h"

#include "runtime/logCategories.h"

namespace eboFreezeDetector {

TimerProbe::TimerProbe(const QString& name, int timeOutMilliseconds)
    : Probe(timeOutMilliseconds), timer_(std::make_unique<QTimer>())
{
    qCInfo(ebo::log::freeze) << "Creating timer probe:" << name << "(" << timeOutMilliseconds << ")";
    setObjectName(name + QStringLiteral("_probe"));
    connect(timer_.get(), &QTimer::timeout, this, &TimerProbe::onTimer);
    timer_->start(kIntervalMilliseconds);
}

}  // namespace eboFreezeDetector
