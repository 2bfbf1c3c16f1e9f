# Compiler settings as targets: project_options for everything we wrote, project_warnings on top.

add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_17)
target_include_directories(project_options INTERFACE
  "${CMAKE_SOURCE_DIR}" "${CMAKE_BINARY_DIR}/generated")
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion
  $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual>)
# The same frame makes the same bytes on every processor: one that can multiply and add in one step
# rounds once where others round twice.
target_compile_options(project_options INTERFACE -ffp-contract=off)
# Documents may be longer than a number of 32 bits counts, on processors of 32 bits too.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(project_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
if(KORV_WERROR)
  target_compile_options(project_options INTERFACE -Werror)
endif()
# Most builds compile up to twelve files of a room at once, which takes half the time. Names in unnamed
# namespaces must differ within a room for that. GCC takes such a namespace for a header's.
if(CMAKE_UNITY_BUILD)
  target_compile_options(project_options INTERFACE
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
# sanitizers and hardening must agree between every object that is linked together
if(KORV_SANITIZE)
  # GCC sees uninitialised memory in its own <regex> and <functional> when they are instrumented
  target_compile_options(project_options INTERFACE
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  add_compile_options(-fsanitize=${KORV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KORV_SANITIZE})
elseif(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
endif()

if(KORV_PACKAGES)
  # the same bytes wherever the sources lie; of maps that fit, the last one counts
  add_compile_options(
    "-ffile-prefix-map=${CMAKE_SOURCE_DIR}=." "-ffile-prefix-map=${CMAKE_BINARY_DIR}=build")
endif()
# the fuzzer must see which way the code under test goes
if(KORV_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
