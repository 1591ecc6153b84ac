# The host's rooms, a static library each.
#
# tav_host_library(room USES room... [EXCLUDE file...]): a library of all sources in and below
# tavhost/<room>, linked with those of the rooms that it includes; scripts/check_includes.py reads
# here which these are and refuses others. Files that end in _posix.cpp or _windows.cpp belong to
# that platform only; *_avx2.cpp to x86-64. TAVHOST_LIBRARIES are all libraries, highest first.
set(TAVHOST_LIBRARIES "" CACHE INTERNAL "")

function(tav_platform_sources out folder)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${folder}/*.cpp" "${folder}/*.h")
  if(WIN32)
    list(FILTER sources EXCLUDE REGEX "_posix\\.cpp$")
  else()
    list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
  endif()
  set(${out} "${sources}" PARENT_SCOPE)
endfunction()

function(tav_host_library folder)
  cmake_parse_arguments(arg "" "" "USES;EXCLUDE" ${ARGN})
  tav_platform_sources(sources "${PROJECT_SOURCE_DIR}/tavhost/${folder}")
  foreach(excluded IN LISTS arg_EXCLUDE)
    list(FILTER sources EXCLUDE REGEX "/${excluded}$")
  endforeach()
  set(name "tavhost_${folder}")
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(${name} PUBLIC TAVHOST_BUILDING_HOST)
  target_link_libraries(${name} PRIVATE tav_warnings PUBLIC tav_private_headers)
  if(folder STREQUAL "base")
    tav_precompile(${name} <algorithm> <functional> <map> <memory> <optional> <string> <string_view>
      <unordered_map> <utility> <vector>)
  else()
    tav_precompile(${name} REUSE_FROM tavhost_base)
  endif()
  foreach(used IN LISTS arg_USES)
    if(TARGET tavhost_${used})  # `windows` stands in for Windows where that is not
      target_link_libraries(${name} PUBLIC tavhost_${used})
    endif()
  endforeach()
  set(TAVHOST_LIBRARIES ${name} ${TAVHOST_LIBRARIES} CACHE INTERNAL "")
endfunction()

# Lowest first: each uses some of those before it.
tav_host_library(base)
tav_host_library(notation USES base)
tav_host_library(reference USES base notation)
tav_host_library(ui USES base notation)
tav_host_library(ide USES base)
tav_host_library(script USES base notation)
tav_host_library(sv USES base ui)
if(NOT WIN32)
  tav_host_library(windows USES base sv)
endif()
tav_host_library(system USES base ui sv)
tav_host_library(files USES base script windows)
tav_host_library(http USES base files)
tav_host_library(dialog USES base ui sv)
tav_host_library(browser USES base ui)
tav_host_library(tools USES base notation ui files)
tav_host_library(analysis USES base notation reference ui script)
tav_host_library(loader USES base notation script)
tav_host_library(service USES base notation script)
tav_host_library(lsp USES base notation reference script analysis)
tav_host_library(headless USES base ui files)
tav_host_library(app USES base notation reference ui ide script sv windows system files http dialog
  browser tools analysis loader service lsp headless EXCLUDE main.cpp)
