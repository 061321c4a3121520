# A toolchain file for Windows. The file that includes it must first set CMAKE_SYSTEM_PROCESSOR to the processor. The
# compilers use mingw-w64's posix thread model, because std::mutex and std::thread need it.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Makes CMake also find packages that are installed for the computer that builds. Every build for Windows uses Qt's
# translation tools; the compile check also uses the headers of Qt and QuaZip.
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE CMAKE_LIBRARY_ARCHITECTURE
    OUTPUT_STRIP_TRAILING_WHITESPACE)
