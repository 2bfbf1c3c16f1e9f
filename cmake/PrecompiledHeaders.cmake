# Half of the time of a build goes into reading the same headers again: of the standard library and of
# OpenCV. korv_precompile() has them read once for all rooms. (Qt's take longer to precompile than the
# window's few sources gain.) Where clang-tidy compiles the sources it is not used, so that one which
# forgets to include what it uses does not compile there.

# The static libraries made in `folder` and below it use the headers of `name`.
function(korv_share_precompiled name folder)
  get_property(targets DIRECTORY "${folder}" PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "STATIC_LIBRARY")
      target_precompile_headers(${target} REUSE_FROM ${name})
    endif()
  endforeach()
  get_property(subfolders DIRECTORY "${folder}" PROPERTY SUBDIRECTORIES)
  foreach(subfolder IN LISTS subfolders)
    korv_share_precompiled(${name} "${subfolder}")
  endforeach()
endfunction()

# korv_precompile(NAME FOLDERS ... HEADERS ... LIBRARIES ...): the rooms below the folders share the
# headers. LIBRARIES have the headers and the settings that the rooms are compiled with.
function(korv_precompile name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "FOLDERS;HEADERS;LIBRARIES")
  set(source "${CMAKE_BINARY_DIR}/generated/${name}.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "// what CMake makes the precompiled header with\n")
  add_library(${name} STATIC "${source}")
  target_link_libraries(${name} PRIVATE project_options ${arg_LIBRARIES})
  target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
  foreach(folder IN LISTS arg_FOLDERS)
    korv_share_precompiled(${name} "${folder}")
  endforeach()
endfunction()
