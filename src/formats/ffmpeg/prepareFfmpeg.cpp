#include "formats/ffmpeg/prepareFfmpeg.h"

#include <cstdarg>
#include <cstddef>

extern "C" {
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

namespace {

// A broken header can ask for an index of gigabytes. The index of a whole day of AAC stays below this.
constexpr std::size_t kLargestAllocationBytes = std::size_t{128} << 20U;

void discardLog(void* /*context*/, int /*level*/, const char* /*format*/, va_list /*arguments*/) {}

}  // namespace

void prepareFfmpeg()
{
    av_log_set_flags(AV_LOG_PRINT_LEVEL);
    av_log_set_callback(&discardLog);
    av_max_alloc(kLargestAllocationBytes);
}
