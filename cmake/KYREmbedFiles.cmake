# kyr_embed_files(<target> NAMESPACE <namespace> NAME <name> FILES <file>...)
#
# Compiles the files into the target, so that the program needs none of them at run time. <name>.h then
# declares <namespace>::<name>(), a view on all of them, each with its name and its bytes.
function(kyr_embed_files target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "NAMESPACE;NAME" "FILES")
  list(TRANSFORM arg_FILES PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/embedded")
  add_custom_command(
    OUTPUT "${folder}/${arg_NAME}.h" "${folder}/${arg_NAME}.cpp"
    COMMAND "${CMAKE_COMMAND}"
      "-DKYR_EMBED_NAMESPACE=${arg_NAMESPACE}" "-DKYR_EMBED_NAME=${arg_NAME}"
      "-DKYR_EMBED_FOLDER=${folder}" "-DKYR_EMBED_FILES=${arg_FILES}"
      -P "${CMAKE_CURRENT_FUNCTION_LIST_FILE}"
    DEPENDS ${arg_FILES} "${CMAKE_CURRENT_FUNCTION_LIST_FILE}"
    COMMENT "Embedding the files of ${arg_NAME}"
    VERBATIM)
  target_sources(${target} PRIVATE "${folder}/${arg_NAME}.h" "${folder}/${arg_NAME}.cpp")
  target_include_directories(${target} PRIVATE "${folder}")
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE STREQUAL CMAKE_CURRENT_LIST_FILE)
  return()
endif()

# From here on as a script: writes the two files.

set(arrays "")
set(entries "")
set(number 0)
foreach(path IN LISTS KYR_EMBED_FILES)
  get_filename_component(fileName "${path}" NAME)
  file(SIZE "${path}" size)
  file(READ "${path}" bytes HEX)
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" text "${bytes}")
  # Lines that tools can read, 24 bytes each.
  string(REPEAT "...." 24 row)
  string(REGEX REPLACE "(${row})" "\\1\"\n    \"" text "${text}")
  string(APPEND arrays "const char FILE_${number}[] =\n    \"${text}\";\n\n")
  string(APPEND entries "    {\"${fileName}\", {FILE_${number}, ${size}}},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(WRITE "${KYR_EMBED_FOLDER}/${KYR_EMBED_NAME}.h" "#pragma once

#include <array>
#include <string_view>
#include <utility>

namespace ${KYR_EMBED_NAMESPACE}
{

/// Names and bytes of files that are part of the program.
const std::array<std::pair<std::string_view, std::string_view>, ${number}>& ${KYR_EMBED_NAME}();

} // namespace ${KYR_EMBED_NAMESPACE}
")

file(WRITE "${KYR_EMBED_FOLDER}/${KYR_EMBED_NAME}.cpp" "#include \"${KYR_EMBED_NAME}.h\"

namespace ${KYR_EMBED_NAMESPACE}
{

namespace
{

${arrays}const std::array<std::pair<std::string_view, std::string_view>, ${number}> FILES{{
${entries}}};

} // namespace

const std::array<std::pair<std::string_view, std::string_view>, ${number}>& ${KYR_EMBED_NAME}()
{
    return FILES;
}

} // namespace ${KYR_EMBED_NAMESPACE}
")
