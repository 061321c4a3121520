# Defines the options and functions that all targets of the project use.

option(UPDATER_COMPILE_ONLY "Compile the product's sources and link nothing" OFF)
set(UPDATER_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(updater_options INTERFACE)
target_compile_options(updater_options INTERFACE
    -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual)
target_compile_definitions(updater_options INTERFACE
    UNICODE _UNICODE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS QT_MESSAGELOGCONTEXT
    QT_DEPRECATED_WARNINGS _WIN32_WINNT=0x0601 WIN32_LEAN_AND_MEAN)
if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    target_compile_options(updater_options INTERFACE -Wthread-safety)
endif()
if(WIN32)
    # Keeps the paths of this computer and the time of the build out of the programs.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>
        $<$<COMPILE_LANGUAGE:CXX>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.>)
    add_link_options(-Wl,--no-insert-timestamp)
    # Finds only static libraries, so that the program does not need the DLL of zlib.
    set(CMAKE_FIND_LIBRARY_SUFFIXES .a)
    target_compile_definitions(updater_options INTERFACE QT_STATIC QUAZIP_STATIC)
endif()
if(UPDATER_SANITIZE)
    target_compile_options(updater_options INTERFACE
        -fsanitize=${UPDATER_SANITIZE} -fno-sanitize-recover=all)
    target_link_options(updater_options INTERFACE -fsanitize=${UPDATER_SANITIZE})
endif()

# updater_library(<name> SOURCES <file>... [LINK <target>...])
# Adds a library with the sources of the current folder. Targets that link the library include the folder's
# headers as "<file>.h".
function(updater_library name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
    if(UPDATER_COMPILE_ONLY)
        add_library(${name} OBJECT ${ARG_SOURCES})
    else()
        add_library(${name} STATIC ${ARG_SOURCES})
    endif()
    target_include_directories(${name} PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name} PUBLIC updater_options ${ARG_LINK})
    set_target_properties(${name} PROPERTIES AUTOMOC ON AUTOUIC ON)
endfunction()

# updater_find_declarations(<package>)
# Finds a package that is installed for the computer that builds. A build for Windows that links nothing can then
# include the package's headers. CMake requires an import library but does not read it, so CMake's own program serves.
function(updater_find_declarations package)
    set(CMAKE_SIZEOF_VOID_P "")
    find_package(${package} REQUIRED)
    get_property(imported_targets DIRECTORY PROPERTY IMPORTED_TARGETS)
    foreach(target IN LISTS imported_targets)
        set_target_properties(${target} PROPERTIES IMPORTED_IMPLIB ${CMAKE_COMMAND})
    endforeach()
endfunction()
