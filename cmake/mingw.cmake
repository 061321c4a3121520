# Sets up a build for Windows on the processor CMAKE_SYSTEM_PROCESSOR. std::mutex and std::thread need mingw-w64's posix
# thread model.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)

# Makes CMake search the building system's library folder for packages of that system. Every build for Windows needs
# Qt's translation tools; the compile check also needs the headers of Qt and QuaZip.
execute_process(COMMAND gcc -print-multiarch OUTPUT_VARIABLE CMAKE_LIBRARY_ARCHITECTURE
    OUTPUT_STRIP_TRAILING_WHITESPACE)
