#include "cli/humanReport.h"

#include "cli/decibels.h"
#include "host/keyName.h"

namespace tunesift::cli {
namespace {

QString fixed(double value, int decimals) { return QString::number(value, 'f', decimals); }

QString line(const char* name, const QString& value)
{
    constexpr int kNameWidth = 16;
    return QStringLiteral("  %1%2\n").arg(QLatin1String(name), -kNameWidth).arg(value);
}

/// The value in words, "-" if there is none.
template <typename T, typename Words>
QString orDash(const std::optional<T>& value, Words words)
{
    return value ? words(*value) : QStringLiteral("-");
}

QString minutesAndSeconds(double seconds)
{
    constexpr qint64 kMillisecondsPerMinute = 60000;
    constexpr double kMillisecondsPerSecond = 1000.0;
    constexpr double kBeyondAllMusic = 1e9;
    if (!(seconds < kBeyondAllMusic))
        return fixed(seconds, 3) + QStringLiteral(" s");
    const qint64 milliseconds = qRound64(seconds * kMillisecondsPerSecond);
    return QStringLiteral("%1:%2")
        .arg(milliseconds / kMillisecondsPerMinute)
        .arg(static_cast<double>(milliseconds % kMillisecondsPerMinute) / kMillisecondsPerSecond, 6, 'f', 3,
             QLatin1Char('0'));
}

QString timeTaken(const host::TrackResult& result)
{
    QString taken = fixed(result.wallSeconds, 2) + QStringLiteral(" s");
    if (!result.seconds || result.wallSeconds <= 0.0)
        return taken;
    return taken +
           QStringLiteral(" (%1 times real time)").arg(fixed(*result.seconds / result.wallSeconds, 1));
}

QString keyInAllForms(int number)
{
    const host::KeyName name = host::keyName(number);
    return QStringLiteral("%1 (%2, %3)").arg(name.musical, name.numberForm, name.letterForm);
}

}  // namespace

QString humanReport(const host::TrackResult& result)
{
    return result.path + QLatin1Char('\n') + line("length", orDash(result.seconds, minutesAndSeconds)) +
           line("sample rate",
                orDash(result.sampleRate,
                       [](double rate) { return QStringLiteral("%1 Hz").arg(rate, 0, 'g', 10); })) +
           line("tempo",
                orDash(result.tempo, [](double tempo) { return fixed(tempo, 2) + QStringLiteral(" BPM"); })) +
           line("key", orDash(result.key, keyInAllForms)) +
           line("loudness", orDash(result.loudness,
                                   [](double loudness) {
                                       return QStringLiteral("%1 (%2 dBFS)")
                                           .arg(fixed(loudness, 4), fixed(decibels(loudness), 1));
                                   })) +
           line("first downbeat",
                orDash(result.firstDownbeat,
                       [](double seconds) { return fixed(seconds, 3) + QStringLiteral(" s"); })) +
           line("beats", orDash(result.beats, [](qint64 beats) { return QString::number(beats); })) +
           line("time taken", timeTaken(result));
}

}  // namespace tunesift::cli
