# Everything from outside, looked up once and with a clear word about what is missing.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_package(Threads REQUIRED)
find_package(Qt5 5.15 REQUIRED COMPONENTS Core Gui Network)
find_package(Boost 1.74 REQUIRED COMPONENTS chrono thread system filesystem)

find_package(PkgConfig REQUIRED)
# libavformat 59, libavcodec 59, libavutil 57 and libswresample 4 are FFmpeg 5.x; the minor numbers are 5.1's.
pkg_check_modules(FFMPEG IMPORTED_TARGET
    libavformat>=59.27 libavcodec>=59.37 libavutil>=57.28 libswresample>=4.7)
if(NOT FFMPEG_FOUND)
    message(FATAL_ERROR
        "tunesift needs the development files of FFmpeg 5.1 or later "
        "(libavformat >= 59.27, libavcodec >= 59.37, libavutil >= 57.28, libswresample >= 4.7). "
        "On Debian 12: scripts/setup.sh installs them.")
endif()

pkg_check_modules(FLAC REQUIRED IMPORTED_TARGET flac>=1.4)
pkg_check_modules(VORBISFILE REQUIRED IMPORTED_TARGET vorbisfile>=1.3)

# pffft is optional: Debian 12 has no package of it. Without it, FFmpeg's transform serves.
find_path(PFFFT_INCLUDE_DIR pffft.h PATH_SUFFIXES pffft)
find_library(PFFFT_LIBRARY pffft)
