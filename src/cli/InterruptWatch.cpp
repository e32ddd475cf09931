#include "cli/InterruptWatch.h"

#include <array>
#include <csignal>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tunesift::cli {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t lastSignal = 0;
volatile std::sig_atomic_t wakeUpDescriptor = -1;

// All that is safe in a signal handler: note the number and wake the event loop.
void onSignal(int number)
{
    lastSignal = number;
    const eventfd_t one = 1;
    [[maybe_unused]] const auto written = write(wakeUpDescriptor, &one, sizeof one);
}

int makeWakeUpDescriptor()
{
    wakeUpDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return wakeUpDescriptor;
}

}  // namespace

InterruptWatch::InterruptWatch() : notifier_(makeWakeUpDescriptor(), QSocketNotifier::Read)
{
    connect(&notifier_, &QSocketNotifier::activated, this, [this] {
        eventfd_t count = 0;
        eventfd_read(wakeUpDescriptor, &count);
        Q_EMIT interrupted();
    });
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int number : kSignals)
        sigaction(number, &action, nullptr);
}

InterruptWatch::~InterruptWatch()
{
    for (const int number : kSignals)
        std::signal(number, SIG_DFL);
    close(wakeUpDescriptor);
    wakeUpDescriptor = -1;
}

int InterruptWatch::signalNumber() noexcept { return lastSignal; }

}  // namespace tunesift::cli
