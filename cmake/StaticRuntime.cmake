# The C++ runtime goes into the program and the plug-in, without what neither uses: loading it as a
# library of its own takes half of the time of a start. Each keeps its copy to itself; the unwinder
# stays shared, since exceptions cross from the host through a plug-in's frames.
set(TAVHOST_RUNTIME_LINK_OPTIONS "")
if(NOT WIN32 AND NOT TAVHOST_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(TAVHOST_RUNTIME_LINK_OPTIONS
    -static-libstdc++ "LINKER:--exclude-libs,libstdc++.a,--gc-sections,-z,noseparate-code")
endif()
