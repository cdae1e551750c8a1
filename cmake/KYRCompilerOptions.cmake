# What every target of this project is compiled with. A target takes it by linking KYRCompilerOptions
# privately, so that nothing of it reaches the users of the libraries.

add_library(KYRCompilerOptions INTERFACE)
target_compile_features(KYRCompilerOptions INTERFACE cxx_std_17)
target_compile_options(KYRCompilerOptions INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
  # A log line and an assertion name their source file: the name must not depend on the build's folder.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")

# g++ collects garbage again and again while it compiles, which takes a sixth of the time of a test.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(KYRCompilerOptions INTERFACE
    "SHELL:--param ggc-min-expand=300" "SHELL:--param ggc-min-heapsize=1000000")
endif()

if(KYRZOVI_WARNINGS_AS_ERRORS)
  target_compile_options(KYRCompilerOptions INTERFACE -Werror)
endif()

if(KYRZOVI_SANITIZE)
  target_compile_options(KYRCompilerOptions INTERFACE
    "-fsanitize=${KYRZOVI_SANITIZE}" -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(KYRCompilerOptions INTERFACE "-fsanitize=${KYRZOVI_SANITIZE}")
endif()

if(KYRZOVI_COVERAGE)
  target_compile_options(KYRCompilerOptions INTERFACE -fprofile-instr-generate -fcoverage-mapping)
  target_link_options(KYRCompilerOptions INTERFACE -fprofile-instr-generate)
endif()

# Only the project that is built by itself chooses a compiler cache; inside another project that is
# the other project's decision.
if(PROJECT_IS_TOP_LEVEL AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  find_program(CCACHE_PROGRAM ccache)
  if(CCACHE_PROGRAM)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE_PROGRAM}")
  endif()
endif()

# What most sources of a target include, compiled once. Only where it is asked for: without it each source shows
# that it includes what it uses.
function(kyr_precompile_headers target)
  if(KYRZOVI_PRECOMPILE_HEADERS)
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

# kyr_add_shared_library(<target> <alias> SOURCES <file>...)
#
# A shared library of this project: hidden symbols but for those that its file "exports.map" names too, a SOVERSION,
# and its include folder for its users.
function(kyr_add_shared_library target alias)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "" "SOURCES")
  add_library(${target} SHARED ${arg_SOURCES})
  add_library(${alias} ALIAS ${target})
  target_include_directories(${target} PUBLIC
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>")
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:KYRCompilerOptions>)
  target_link_options(${target} PRIVATE
    "LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exports.map")
  set_target_properties(${target} PROPERTIES
    LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/exports.map"
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
endfunction()
