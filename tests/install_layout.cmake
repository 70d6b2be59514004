# Installs the build into a scratch prefix and checks that a desktop finds Gigmora there: the
# executable, its desktop entry, icon and AppStream metainfo, each where the desktop looks.
file(REMOVE_RECURSE "${DEST}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${DEST}"
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
    message(FATAL_ERROR "cmake --install failed: ${rc}")
endif()
set(entry "${DEST}/share/applications/io.github.gigmora.Gigmora.desktop")
foreach(f bin/gigmora share/applications/io.github.gigmora.Gigmora.desktop
          share/icons/hicolor/scalable/apps/io.github.gigmora.Gigmora.svg
          share/metainfo/io.github.gigmora.Gigmora.metainfo.xml)
    if(NOT EXISTS "${DEST}/${f}")
        message(FATAL_ERROR "not installed: ${f}")
    endif()
endforeach()
file(READ "${entry}" text)
foreach(line "Exec=gigmora" "Icon=io.github.gigmora.Gigmora" "Categories=AudioVideo;Audio;Midi;")
    string(FIND "${text}" "${line}" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "the desktop entry lacks ${line}")
    endif()
endforeach()
# The desktop's own checker, where the machine has it.
find_program(VALIDATE desktop-file-validate)
if(VALIDATE)
    execute_process(COMMAND "${VALIDATE}" "${entry}" RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "desktop-file-validate refused the entry")
    endif()
endif()
message(STATUS "installed layout is complete")
