# How our own targets are compiled, and the shorthand that every folder uses.

add_library(tunesift_common INTERFACE)
target_include_directories(tunesift_common INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(tunesift_common INTERFACE
    BOOST_THREAD_VERSION=4      # deleting a joinable thread ends the process instead of detaching it
    QT_NO_CAST_FROM_ASCII QT_NO_FOREACH QT_NO_KEYWORDS QT_DEPRECATED_WARNINGS)
target_compile_options(tunesift_common INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    -ffp-contract=off           # the same bits on machines with and without fused multiply-add
    -fno-math-errno)            # square roots in lanes; nobody looks at errno
target_link_libraries(tunesift_common INTERFACE
    Qt5::Core Qt5::Network Boost::thread Boost::chrono Boost::system Boost::filesystem Threads::Threads)

set(TUNESIFT_SANITIZE "" CACHE STRING "Sanitizers for all our targets, as in -fsanitize=")
if(TUNESIFT_SANITIZE)
    target_compile_options(tunesift_common INTERFACE
        -fsanitize=${TUNESIFT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tunesift_common INTERFACE -fsanitize=${TUNESIFT_SANITIZE})
endif()

# One precompiled header serves all our libraries; they are compiled with the same flags.
add_library(tunesift_pch OBJECT ${PROJECT_SOURCE_DIR}/cmake/pch.cpp)
target_link_libraries(tunesift_pch PUBLIC tunesift_common)
target_precompile_headers(tunesift_pch PRIVATE
    <QByteArray> <QCoreApplication> <QDebug> <QObject> <QString> <QThread>
    <algorithm> <array> <atomic> <cmath> <cstdint> <functional> <map> <memory> <mutex> <optional> <string>
    <utility> <vector>)

# tunesift_library(NAME [LINK targets...] [ROOMS folders...]): the sources of the folder, and of the rooms inside it
# that are named, as the static library tunesift_NAME.
function(tunesift_library name)
    cmake_parse_arguments(arg "" "" "LINK;ROOMS" ${ARGN})
    list(TRANSFORM arg_ROOMS APPEND "/*.cpp" OUTPUT_VARIABLE rooms)
    list(TRANSFORM arg_ROOMS APPEND "/*.h" OUTPUT_VARIABLE room_headers)
    file(GLOB sources CONFIGURE_DEPENDS *.cpp *.h ${rooms} ${room_headers})
    add_library(tunesift_${name} STATIC ${sources})
    target_link_libraries(tunesift_${name} PUBLIC tunesift_common ${arg_LINK})
    target_precompile_headers(tunesift_${name} REUSE_FROM tunesift_pch)
    set_target_properties(tunesift_${name} PROPERTIES AUTOMOC ON)
endfunction()

# tunesift_test(NAME SOURCES files... [LINK targets...] [LABELS labels...] [SERIAL] [MOC]): one test program whose
# every case is a test of ctest's. Label "tsan" marks what stands on std and Boost alone and so runs under
# ThreadSanitizer as well. SERIAL keeps the program's tests from running beside others. MOC: the sources
# define Qt objects of their own.
function(tunesift_test name)
    cmake_parse_arguments(arg "SERIAL;MOC" "" "SOURCES;LINK;LABELS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    target_link_libraries(${name} PRIVATE tunesift_test_support ${arg_LINK} GTest::gmock)
    target_precompile_headers(${name} REUSE_FROM tunesift_test_pch)
    set_target_properties(${name} PROPERTIES AUTOMOC ${arg_MOC})
    set(properties TIMEOUT 600)
    if(arg_LABELS)
        list(APPEND properties LABELS "${arg_LABELS}")
    endif()
    if(arg_SERIAL)
        list(APPEND properties RUN_SERIAL TRUE)
    endif()
    gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
        PROPERTIES ${properties})
    foreach(label IN LISTS arg_LABELS)
        set_property(GLOBAL APPEND PROPERTY TUNESIFT_TESTS_${label} ${name})
    endforeach()
endfunction()
