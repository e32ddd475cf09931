// tunesift-probe: what tunesift itself shall not do in its own process, for one file at a time.
//
//     tunesift-probe check PATH    decodes the file and prints what it found, as JSON on one line
//     tunesift-probe versions      prints the versions of the decoders, as JSON on one line

#include "cli/probe/Decoding.h"
#include "cli/rows/JsonLine.h"
#include "key/CRealFFT_If.h"
#include "runtime/prepareProcess.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextCodec>

#include <FLAC/format.h>
#include <vorbis/codec.h>

#include <cstdio>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

namespace {

using tunesift::cli::JsonLine;

void print(const JsonLine& line)
{
    std::puts(line.object().constData());
    std::fflush(stdout);
}

QString dotted(unsigned version)
{
    return QStringLiteral("%1.%2.%3")
        .arg(AV_VERSION_MAJOR(version))
        .arg(AV_VERSION_MINOR(version))
        .arg(AV_VERSION_MICRO(version));
}

/// Names of formats whose decoders this machine's FFmpeg lacks.
QString missingDecoders()
{
    QStringList missing;
    const auto want = [&missing](AVCodecID codec, const char* name) {
        if (avcodec_find_decoder(codec) == nullptr)
            missing << QLatin1String(name);
    };
    want(AV_CODEC_ID_MP3, "mp3");
    want(AV_CODEC_ID_AAC, "aac");
    want(AV_CODEC_ID_ALAC, "alac");
    want(AV_CODEC_ID_PCM_S16LE, "wav");
    want(AV_CODEC_ID_PCM_S16BE, "aiff");
    return missing.join(QLatin1Char(' '));
}

int versions()
{
    JsonLine line;
    line.add("FFmpeg", QString::fromLatin1(av_version_info()));
    line.add("libavformat", dotted(avformat_version()));
    line.add("libavcodec", dotted(avcodec_version()));
    line.add("libFLAC", QString::fromLatin1(FLAC__VERSION_STRING));
    line.add("libvorbis", QString::fromLatin1(vorbis_version_string()));
#ifdef TUNESIFT_HAS_PFFFT
    line.add("FFT", QStringLiteral("pffft"));
#else
    line.add("FFT", QStringLiteral("libavutil ") + dotted(avutil_version()));
#endif
    line.add("Qt", QString::fromLatin1(qVersion()));
    line.add("missingDecoders", missingDecoders());
    print(line);
    return 0;
}

int check(const QString& path)
{
    const auto decoding = tunesift::probe::decode(path);
    const auto number = [](quint64 value) { return static_cast<qint64>(value); };
    JsonLine line;
    line.addTruth("opened", decoding.opened);
    line.add("sampleRate", number(decoding.sampleRate));
    line.add("channels", number(decoding.channels));
    line.add("statedFrames", number(decoding.statedFrames));
    line.add("decodedFrames", number(decoding.decodedFrames));
    line.addTruth("endsEarly", decoding.ending == TrackLength::Ending::kEarly);
    line.addTruth("endsLate", decoding.ending == TrackLength::Ending::kLate);
    line.addTruth("hasFailed", decoding.hasFailed);
    line.addTruth("digestDiffers", decoding.digestDiffers);
    line.add("peak", decoding.peak);
    line.add("clippedPlaces", number(decoding.clippedPlaces));
    line.add("announcedBytes", decoding.announcedBytes);
    line.add("bytes", decoding.bytes);
    line.add("complaints", decoding.complaints.join(QLatin1Char('\n')));
    print(line);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    ebo::prepareProcess();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 3 && arguments[1] == QLatin1String("check"))
        return check(arguments[2]);
    if (arguments.size() == 2 && arguments[1] == QLatin1String("versions"))
        return versions();
    std::fputs("usage: tunesift-probe check PATH | versions\n", stderr);
    return 2;
}
