# What a Windows program needs beside it: the compiler's runtime, and a resource with its version
# and its manifest.
if(NOT WIN32)
  return()
endif()
add_compile_definitions(_WIN32_WINNT=0x0A00)  # Windows 10
# As much stack as on Linux, so that the same depths of nesting are taken.
add_link_options(LINKER:--stack,8388608)

function(tav_copy_runtime folder)
  foreach(library libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" "-print-file-name=${library}"
      OUTPUT_VARIABLE found OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT IS_ABSOLUTE "${found}")
      message(FATAL_ERROR "the compiler has no ${library}")
    endif()
    file(REAL_PATH "${found}" found)
    file(COPY "${found}" DESTINATION "${folder}")
    list(APPEND libraries "${found}")
  endforeach()
  set(TAVHOST_RUNTIME_LIBRARIES "${libraries}" PARENT_SCOPE)
endfunction()
tav_copy_runtime("${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")

# tav_copy_qt(modules program): Qt's libraries and plug-ins beside the module that uses them, and
# the file beside the program by which they find each other.
function(tav_copy_qt modules program)
  foreach(library Core Gui Widgets PrintSupport)
    file(COPY "${TAVHOST_WINDOWS_LIBRARIES}/bin/Qt6${library}.dll" DESTINATION "${modules}")
  endforeach()
  foreach(kind platforms styles imageformats)
    file(COPY "${TAVHOST_WINDOWS_LIBRARIES}/plugins/${kind}" DESTINATION "${modules}"
      FILES_MATCHING PATTERN "*.dll")
  endforeach()
  file(RELATIVE_PATH folder "${program}" "${modules}")
  file(WRITE "${program}/qt.conf" "[Paths]\nPrefix = .\nPlugins = ${folder}\n")
endfunction()

# tav_windows_resource(target description filename): version and manifest.
function(tav_windows_resource target TAV_DESCRIPTION TAV_FILENAME)
  set(TAV_MANIFEST "${PROJECT_SOURCE_DIR}/cmake/tavhost.manifest")
  get_target_property(type ${target} TYPE)
  set(TAV_IS_PROGRAM 0)
  if(type STREQUAL "EXECUTABLE")
    set(TAV_IS_PROGRAM 1)
  endif()
  string(REPLACE "." "," TAV_VERSION_NUMBERS "${PROJECT_VERSION}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in"
    "${CMAKE_BINARY_DIR}/resources/${target}.rc" @ONLY)
  target_sources(${target} PRIVATE "${CMAKE_BINARY_DIR}/resources/${target}.rc")
  set_property(SOURCE "${CMAKE_BINARY_DIR}/resources/${target}.rc" APPEND PROPERTY
    OBJECT_DEPENDS "${TAV_MANIFEST}")
endfunction()
