# The packages' version, date and maintainer have one home: the newest entry of the changelog.

# korv_read_changelog(FILE): sets KORV_PACKAGE_VERSION, _RELEASE, _MAINTAINER and _DATE (yyyy-mm-dd).
function(korv_read_changelog changelog)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${changelog}")
  foreach(field IN ITEMS Version Maintainer Timestamp)
    execute_process(COMMAND dpkg-parsechangelog -l "${changelog}" -S ${field}
      OUTPUT_VARIABLE ${field} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  if(NOT Version MATCHES "^(.+)-([^-]+)$")
    message(FATAL_ERROR "${changelog}: no version with a Debian revision: ${Version}")
  endif()
  set(KORV_PACKAGE_RELEASE "${CMAKE_MATCH_2}" PARENT_SCOPE)
  set(KORV_PACKAGE_VERSION "${CMAKE_MATCH_1}" PARENT_SCOPE)
  if(NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
    message(FATAL_ERROR "${changelog}: the newest entry is for ${CMAKE_MATCH_1}, "
      "the project's version is ${PROJECT_VERSION}")
  endif()
  set(ENV{SOURCE_DATE_EPOCH} "${Timestamp}")
  string(TIMESTAMP date "%Y-%m-%d" UTC)
  set(KORV_PACKAGE_DATE "${date}" PARENT_SCOPE)
  set(KORV_PACKAGE_MAINTAINER "${Maintainer}" PARENT_SCOPE)
endfunction()
