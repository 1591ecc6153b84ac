# What a build can be told, and where it leaves what it makes.
option(TAVHOST_BUILD_TESTS "Build the unit tests and the plug-ins used by tests" ON)
option(TAVHOST_BUILD_BENCHMARKS "Build the programs in bench/" OFF)
option(TAVHOST_BUILD_FUZZERS "Build the libFuzzer targets (clang only)" OFF)
option(TAVHOST_QT "Build the Qt user interface module when Qt 6 is found" ON)
set(TAVHOST_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize= (address,undefined or thread)")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
if(WIN32)
  set(TAVHOST_PLUGIN_DIRECTORY "${CMAKE_BINARY_DIR}/bin/plugins")
  set(TAVHOST_MODULE_DIRECTORY "${CMAKE_BINARY_DIR}/bin/modules")
else()
  set(TAVHOST_PLUGIN_DIRECTORY "${CMAKE_BINARY_DIR}/lib/tavhost/plugins")
  set(TAVHOST_MODULE_DIRECTORY "${CMAKE_BINARY_DIR}/lib/tavhost/modules")
endif()

# Messages name source files as they stand in the tree, wherever it was built.
add_compile_options("-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=")

# No other library may replace a function that the host exports, so the compiler may inline it where
# the host itself calls it.
if(NOT WIN32)
  add_compile_options(-fno-semantic-interposition)
endif()

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2")  # assertions stay on: they cost little and find much

if(TAVHOST_SANITIZE)
  add_compile_definitions(TAVHOST_SANITIZED)
  add_compile_options(-fsanitize=${TAVHOST_SANITIZE} -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TAVHOST_SANITIZE})
  if(TAVHOST_SANITIZE MATCHES "undefined")
    # Reads of address 0 are left to the address sanitizer, which ends them as the fault they are.
    add_compile_options(-fno-sanitize-recover=undefined -fno-sanitize=null)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # With sanitizers the compiler takes what the standard library moves for uninitialized.
    add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-maybe-uninitialized>)
  endif()
endif()

if(TAVHOST_BUILD_FUZZERS)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()

find_program(TAVHOST_CCACHE ccache)
if(TAVHOST_CCACHE)
  # The compiler itself tells what it read (else every source is preprocessed twice), and sources
  # with a precompiled header are taken only when it is said what may differ in it.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    "${CMAKE_COMMAND};-E;env;CCACHE_DEPEND=1;CCACHE_SLOPPINESS=pch_defines,time_macros;${TAVHOST_CCACHE}")
endif()
