# Headers that most sources of a target include are parsed once for all of them: those of the
# standard library, Qt and the test framework, which never change here. Each source still names what
# it uses: the preset `asan` compiles without, and would show one that does not.
option(TAVHOST_PRECOMPILED "Parse the headers of other libraries once a target" ON)

# tav_precompile(target header...) or tav_precompile(target REUSE_FROM other)
function(tav_precompile target)
  if(TAVHOST_PRECOMPILED)
    if(ARGV1 STREQUAL "REUSE_FROM")
      target_precompile_headers(${target} REUSE_FROM ${ARGV2})
    else()
      target_precompile_headers(${target} PRIVATE ${ARGN})
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # The first is for the compiler cache, which preprocesses on its own. The others warn of code of
      # the standard library itself, since the compiler forgets which headers are the system's;
      # builds without precompiled headers have them.
      target_compile_options(${target} PRIVATE -fpch-preprocess
        -Wno-array-bounds -Wno-stringop-overread -Wno-stringop-overflow -Wno-restrict)
    elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      # What is parsed from the same text is the same, whenever: for the compiler cache.
      target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
    endif()
  endif()
endfunction()
