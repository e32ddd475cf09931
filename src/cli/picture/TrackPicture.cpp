#include "cli/picture/TrackPicture.h"

#include "cli/decibels.h"
#include "cli/duration.h"
#include "cli/picture/BandColumns.h"
#include "host/gridBeats.h"
#include "host/keyName.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <cmath>

namespace tunesift::cli {
namespace {

constexpr QRgb kBackground = 0xFF12151B;
constexpr QRgb kPanel = 0xFF191D25;
constexpr QRgb kText = 0xFFE8EAED;
constexpr QRgb kFaintText = 0xFF9AA3AF;
// Over the wave, which shines through.
constexpr QRgb kBeatLine = 0x38FFFFFF;
constexpr QRgb kBarLine = 0x90FFFFFF;
constexpr QRgb kBarMark = 0xFFE5484D;
constexpr qint64 kBeatsPerBar = 4;

/// Where things are, in pixels; grows with the picture.
struct Layout {
    explicit Layout(const PictureSettings& settings)
        : width(settings.width), height(settings.height),
          unit(std::clamp(std::min(height / 20.0, width / 60.0), 5.0, 28.0)),
          wave(unit, 2.6 * unit, width - 2.0 * unit, height - 5.2 * unit)
    {}

    double width;
    double height;
    double unit;  ///< About the height of a letter and a half.
    QRectF wave;

    [[nodiscard]] double x(const Stretch& stretch, double frame) const
    {
        return wave.left() + (frame - stretch.from) / stretch.length() * wave.width();
    }
};

Stretch stretchOf(const TrackWaves& waves, const PictureSettings& settings)
{
    const double frames = static_cast<double>(*waves.result.frames);
    const double rate = *waves.result.sampleRate;
    return {settings.from ? *settings.from * rate : 0.0, settings.to ? *settings.to * rate : frames};
}

QString factsOf(const host::TrackResult& result)
{
    QStringList facts;
    if (result.tempo)
        facts << QStringLiteral("%1 BPM").arg(*result.tempo, 0, 'f', 2);
    if (result.key) {
        const host::KeyName key = host::keyName(*result.key);
        facts << QStringLiteral("%1 (%2)").arg(key.musical, key.letterForm);
    }
    if (result.loudness && *result.loudness > 0.0)
        facts << QStringLiteral("%1 dBFS").arg(decibels(*result.loudness), 0, 'f', 1);
    facts << duration(*result.seconds);
    return facts.join(QStringLiteral("   "));
}

void addHeader(Scene& scene, const Layout& layout, const TrackWaves& waves, QString title)
{
    const double baseline = 1.75 * layout.unit;
    const QString facts = factsOf(waves.result);
    const double size = layout.unit;
    // Wide enough for any letter, since nothing is measured here.
    constexpr double kLetter = 0.62;
    const double room = layout.wave.width() - kLetter * size * static_cast<double>(facts.size() + 2);
    const int letters = std::max(0, static_cast<int>(room / (kLetter * size)));
    if (title.size() > letters)
        title = letters > 1 ? title.left(letters - 1) + QChar(0x2026) : QString();
    scene.things.emplace_back(
        Scene::Label{{layout.wave.left(), baseline}, title, size, QColor(kText), true, false});
    scene.things.emplace_back(
        Scene::Label{{layout.wave.right(), baseline}, facts, size, QColor(kFaintText), false, true});
}

/// Every so many beats have a line, so that the lines do not run into each other.
qint64 beatStep(double pixelsPerBeat)
{
    constexpr double kClosest = 6.0;
    qint64 step = 1;
    while (pixelsPerBeat * static_cast<double>(step) < kClosest && step < (qint64{1} << 40))
        step *= step == 1 ? kBeatsPerBar : 2;
    return step;
}

void addBeats(Scene& scene, const Layout& layout, const TrackWaves& waves, const Stretch& stretch)
{
    if (!waves.grid || !host::isUsable(*waves.grid) || !waves.result.tempo || !(*waves.result.tempo > 0.0))
        return;
    constexpr double kSecondsPerMinute = 60.0;
    const double beatFrames = *waves.result.sampleRate * kSecondsPerMinute / *waves.result.tempo;
    const double pixelsPerBeat = beatFrames / stretch.length() * layout.wave.width();
    const qint64 step = beatStep(pixelsPerBeat);
    const double markSize = 0.3 * layout.unit;
    for (const host::Beat& beat : host::beatsBetween(*waves.grid, stretch.from, stretch.to)) {
        if (beat.number % step != 0)
            continue;
        const bool isBar = beat.number % std::max(kBeatsPerBar, step) == 0;
        const double x = layout.x(stretch, beat.position);
        // In pictures of many bars the lines mean bars, and stand back.
        const bool isStrong = isBar && step < kBeatsPerBar;
        const double thickness = isStrong ? 1.5 : 1.0;
        scene.things.emplace_back(
            Scene::Box{{x - thickness / 2.0, layout.wave.top(), thickness, layout.wave.height()},
                       QColor::fromRgba(isStrong ? kBarLine : kBeatLine)});
        if (!isBar || (step >= kBeatsPerBar && beat.number % (4 * step) != 0))
            continue;
        for (const double direction : {1.0, -1.0}) {
            const double edge = direction > 0.0 ? layout.wave.top() : layout.wave.bottom();
            scene.things.emplace_back(Scene::Shape{
                {{x - markSize, edge}, {x + markSize, edge}, {x, edge + direction * 1.4 * markSize}},
                QColor(kBarMark)});
        }
    }
}

void addWave(Scene& scene, const Layout& layout, const TrackWaves& waves, const Stretch& stretch,
             bool isWhole)
{
    const int count = std::max(1, static_cast<int>(layout.wave.width()));
    const auto levels = bandColumns(waves, stretch, count, isWhole);
    // Quiet tracks would be a line otherwise.
    double highest = 0.0;
    for (const BandLevels& column : levels)
        highest = std::max({highest, column[0], column[1], column[2]});
    const double middle = layout.wave.center().y();
    constexpr double kRoom = 0.92;
    const double scale = highest > 0.0 ? layout.wave.height() / 2.0 * kRoom / highest : 0.0;
    for (std::size_t band = 0; band < std::size(kBandColours); ++band) {
        Scene::Shape shape{{}, QColor(kBandColours[band])};
        const auto add = [&](std::size_t column, double direction) {
            const double height = levels[column][band] * scale;
            shape.outline.emplace_back(layout.wave.left() + static_cast<double>(column) + 0.5,
                                       middle - direction * height);
        };
        for (std::size_t column = 0; column < levels.size(); ++column)
            add(column, 1.0);
        for (std::size_t column = levels.size(); column-- > 0;)
            add(column, -1.0);
        scene.things.emplace_back(std::move(shape));
    }
}

/// Seconds between two marks of the time axis.
double timeStep(double seconds, double pixels, double unit)
{
    constexpr std::array kSteps{0.1,  0.2,  0.5,  1.0,   2.0,   5.0,   10.0,
                                15.0, 30.0, 60.0, 120.0, 300.0, 600.0, 1800.0};
    const double closest = 6.0 * unit * seconds / pixels;
    for (const double step : kSteps) {
        if (step >= closest)
            return step;
    }
    constexpr double kHour = 3600.0;
    return std::ceil(closest / kHour) * kHour;
}

QString timeLabel(double seconds, double step)
{
    if (step >= 1.0)
        return duration(seconds);
    const double whole = std::floor(seconds + step / 4.0);
    return duration(whole) + QStringLiteral(".%1").arg(qRound((seconds - whole) * 10.0));
}

void addTimes(Scene& scene, const Layout& layout, const Stretch& stretch, double rate)
{
    const double step = timeStep(stretch.length() / rate, layout.wave.width(), layout.unit);
    const double from = stretch.from / rate;
    const double to = stretch.to / rate;
    const double top = layout.wave.bottom();
    for (auto mark = static_cast<qint64>(std::ceil(from / step)); static_cast<double>(mark) * step <= to;
         ++mark) {
        const double seconds = static_cast<double>(mark) * step;
        const double x = layout.x(stretch, seconds * rate);
        scene.things.emplace_back(Scene::Box{{x - 0.5, top, 1.0, 0.5 * layout.unit}, QColor(kFaintText)});
        if (x + 3.0 * layout.unit > layout.width)
            continue;
        scene.things.emplace_back(Scene::Label{{x + 0.3 * layout.unit, top + 1.3 * layout.unit},
                                               timeLabel(seconds, step),
                                               0.8 * layout.unit,
                                               QColor(kFaintText),
                                               false,
                                               false});
    }
}

}  // namespace

Scene trackPicture(const TrackWaves& waves, const PictureSettings& settings)
{
    const Layout layout(settings);
    const Stretch stretch = stretchOf(waves, settings);
    const bool isWhole = !settings.from && !settings.to;
    Scene scene{settings.width, settings.height, QColor(kBackground), {}};
    scene.things.emplace_back(Scene::Box{layout.wave, QColor(kPanel)});
    addWave(scene, layout, waves, stretch, isWhole);
    addBeats(scene, layout, waves, stretch);
    addTimes(scene, layout, stretch, *waves.result.sampleRate);
    addHeader(scene, layout, waves, settings.title);
    return scene;
}

}  // namespace tunesift::cli
