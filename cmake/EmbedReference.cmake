# The files of the command reference as constant data of the program. Included, it adds the
# generated source to the library `reference`; run as a script (cmake -P), it writes that source.
set(families dialogs files tree_list_box progress_output browsers environment http)

if(CMAKE_SCRIPT_MODE_FILE)
  set(source "#include \"tavhost/reference/reference.h\"\n\n#include <array>\n\nnamespace reference {\n\n")
  string(APPEND source "std::span<const Source> EmbeddedSources() {\n")
  list(LENGTH families count)
  string(APPEND source "  static constexpr std::array<Source, ${count}> kSources = {{\n")
  foreach(family IN LISTS families)
    file(READ "${FOLDER}/${family}.kel" text)
    string(APPEND source "      {\"${family}\", R\"tavkel(${text})tavkel\"},\n")
  endforeach()
  string(APPEND source "  }};\n  return kSources;\n}\n\n}  // namespace reference\n")
  file(WRITE "${OUTPUT}" "${source}")
  return()
endif()

set(reference_folder "${PROJECT_SOURCE_DIR}/commands/reference")
set(reference_source "${PROJECT_BINARY_DIR}/generated/reference_data.cpp")
list(TRANSFORM families REPLACE "(.+)" "${reference_folder}/\\1.kel" OUTPUT_VARIABLE reference_files)
add_custom_command(
  OUTPUT "${reference_source}"
  COMMAND "${CMAKE_COMMAND}" "-DFOLDER=${reference_folder}" "-DOUTPUT=${reference_source}"
          -P "${CMAKE_CURRENT_LIST_FILE}"
  DEPENDS ${reference_files} "${CMAKE_CURRENT_LIST_FILE}"
  COMMENT "Embedding the command reference"
  VERBATIM)
target_sources(tavhost_reference PRIVATE "${reference_source}")
