# Windows x64 from Debian's mingw-w64, posix threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# Programs to run are the build machine's; libraries and headers are Windows' own or none.
# Besides Debian's there are those that scripts/windows_libraries built.
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
execute_process(COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/windows_libraries" --where
  OUTPUT_VARIABLE TAVHOST_WINDOWS_LIBRARIES OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
if(IS_DIRECTORY "${TAVHOST_WINDOWS_LIBRARIES}")
  list(PREPEND CMAKE_FIND_ROOT_PATH "${TAVHOST_WINDOWS_LIBRARIES}")
endif()
# The tools that building with Qt needs run here, so they are this machine's.
set(QT_HOST_PATH /usr)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
