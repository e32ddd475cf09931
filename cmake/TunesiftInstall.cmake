# What `cmake --install` puts where, and the Debian package of it (`cpack -G DEB`).

# Installing needs what is installed, not tests and benchmarks.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

set(TUNESIFT_LIBEXEC lib/tunesift)  # as src/cli/programPath.cpp looks for it, seen from bin

install(TARGETS tunesift RUNTIME DESTINATION bin)
install(TARGETS tunesift-worker tunesift-probe RUNTIME DESTINATION ${TUNESIFT_LIBEXEC})
install(FILES ${PROJECT_SOURCE_DIR}/completions/tunesift.bash
    DESTINATION share/bash-completion/completions RENAME tunesift)
install(FILES ${PROJECT_SOURCE_DIR}/completions/_tunesift DESTINATION share/zsh/vendor-completions)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/large-libraries.md
    ${PROJECT_SOURCE_DIR}/docs/protocol.md ${PROJECT_SOURCE_DIR}/docs/sharing.md ${PROJECT_SOURCE_DIR}/packaging/copyright
    DESTINATION share/doc/tunesift)

# Manuals and the changelog go compressed, with neither name nor time in them.
find_program(GZIP gzip REQUIRED)
file(GLOB manuals CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.1)
set(compressed)
foreach(file IN LISTS manuals ITEMS ${PROJECT_SOURCE_DIR}/packaging/changelog)
    get_filename_component(name ${file} NAME)
    set(output ${PROJECT_BINARY_DIR}/compressed/${name}.gz)
    add_custom_command(OUTPUT ${output} DEPENDS ${file} VERBATIM
        COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/compressed
        COMMAND sh -c "\"$0\" -9nc \"$1\" > \"$2\"" ${GZIP} ${file} ${output})
    list(APPEND compressed ${output})
    if(name STREQUAL changelog)
        install(FILES ${output} DESTINATION share/doc/tunesift)
    else()
        install(FILES ${output} DESTINATION share/man/man1)
    endif()
endforeach()
add_custom_target(compressed_documents ALL DEPENDS ${compressed})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tunesift)
set(CPACK_PACKAGE_CONTACT "tunesift developers <developers@tunesift.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tempo, beats, key and loudness of music")
set(CPACK_PACKAGE_DESCRIPTION "tunesift analyses tracks and whole libraries of them: tempo, beat grid, key,
loudness and waveform, in one pass over the decoded audio. It reads WAV,
AIFF, FLAC, Ogg Vorbis, MP3 and AAC, runs many tracks at once in worker
processes, and prints tables, JSON or CSV.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
