# What `cmake --install` puts where. Each component can be installed alone:
#
#   runtime      the shared libraries
#   development  headers, link names, CMake package files and pkg-config files
#   kit          the service kit with its headers
#   host         the host service
#
# Names such as "Command" and "Timestamp.h" are too common for a shared include folder: each library's headers stand
# in a folder named after it, which its target and its pkg-config file carry.

include(CMakePackageConfigHelpers)

set(KYR_CMAKE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/KYRZoviLib")

# Headers of a public interface; what only the build shares stays out.
function(kyr_install_headers target component)
  install(DIRECTORY include/ DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/${target}"
    COMPONENT ${component}
    FILES_MATCHING PATTERN "*.h"
    PATTERN "JSONPrinter.h" EXCLUDE)
  target_include_directories(${target} PUBLIC
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/${target}>")
endfunction()

# kyr_install_pkg_config(<target> COMPONENT <component> DESCRIPTION <text> [REQUIRES <module>...] [LIBS <flag>...])
#
# Debian's Poco has no pkg-config files: its libraries are named by their link flags.
function(kyr_install_pkg_config target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "COMPONENT;DESCRIPTION" "REQUIRES;LIBS")
  set(PC_NAME ${target})
  set(PC_DESCRIPTION "${arg_DESCRIPTION}")
  list(JOIN arg_REQUIRES ", " PC_REQUIRES)
  list(JOIN arg_LIBS " " PC_LIBS)
  # Told from where the file stands, so that the whole folder can be installed anywhere and moved.
  file(RELATIVE_PATH PC_UP "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
  string(REGEX REPLACE "/$" "" PC_UP "${PC_UP}")
  foreach(folder IN ITEMS LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
      set(PC_${folder} "${CMAKE_INSTALL_${folder}}")
    else()
      set(PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
    endif()
  endforeach()
  set(file "${CMAKE_CURRENT_BINARY_DIR}/${target}.pc")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/templates/library.pc.in" "${file}" @ONLY)
  install(FILES "${file}" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${arg_COMPONENT})
endfunction()

# kyr_install_shared_library(<target> DESCRIPTION <text> [REQUIRES <module>...] [LIBS <flag>...])
function(kyr_install_shared_library target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "REQUIRES;LIBS")
  string(REGEX REPLACE "^KYR" "" exported ${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${exported}
    # The companions are found beside the product wherever the folder is moved to.
    INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${target} EXPORT KYRZoviLibTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    COMPONENT runtime
    NAMELINK_COMPONENT development)
  kyr_install_headers(${target} development)
  kyr_install_pkg_config(${target} COMPONENT development
    DESCRIPTION "${arg_DESCRIPTION}" REQUIRES ${arg_REQUIRES} LIBS ${arg_LIBS})
endfunction()

# The service kit: a static library, in an export of its own, since it may be missing.
function(kyr_install_kit target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "DESCRIPTION" "REQUIRES;LIBS")
  string(REGEX REPLACE "^KYR" "" exported ${target})
  set_target_properties(${target} PROPERTIES EXPORT_NAME ${exported})
  install(TARGETS ${target} EXPORT KYRServiceKitTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT kit)
  kyr_install_headers(${target} kit)
  kyr_install_pkg_config(${target} COMPONENT kit
    DESCRIPTION "${arg_DESCRIPTION}" REQUIRES ${arg_REQUIRES} LIBS ${arg_LIBS})
  install(EXPORT KYRServiceKitTargets NAMESPACE KYR::
    DESTINATION "${KYR_CMAKE_DIR}" COMPONENT kit)
endfunction()

# A program that finds the libraries in the prefix it was installed to.
function(kyr_install_program target component)
  file(RELATIVE_PATH libraries
    "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS ${target} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component})
endfunction()

function(kyr_install_package_files)
  set(version_file "${CMAKE_CURRENT_BINARY_DIR}/KYRZoviLibConfigVersion.cmake")
  set(config_file "${CMAKE_CURRENT_BINARY_DIR}/KYRZoviLibConfig.cmake")
  write_basic_package_version_file("${version_file}" COMPATIBILITY SameMajorVersion)
  configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/templates/KYRZoviLibConfig.cmake.in" "${config_file}"
    INSTALL_DESTINATION "${KYR_CMAKE_DIR}"
    NO_SET_AND_CHECK_MACRO)
  install(FILES "${version_file}" "${config_file}"
    DESTINATION "${KYR_CMAKE_DIR}" COMPONENT development)
  install(EXPORT KYRZoviLibTargets NAMESPACE KYR::
    DESTINATION "${KYR_CMAKE_DIR}" COMPONENT development)
endfunction()
