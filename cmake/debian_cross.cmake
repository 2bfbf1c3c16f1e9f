# Toolchain for another architecture of Debian, whose packages are installed beside this machine's:
# cmake --preset PRESET --toolchain cmake/debian_cross.cmake -DKORV_ARCHITECTURE=arm64
set(KORV_ARCHITECTURE "" CACHE STRING "Debian's name of the architecture that is built for")
# the small projects that CMake tries out read this file as well
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORV_ARCHITECTURE)

foreach(property IN ITEMS GNU_TYPE GNU_CPU MULTIARCH)
  execute_process(COMMAND dpkg-architecture -a "${KORV_ARCHITECTURE}" -q DEB_HOST_${property}
    OUTPUT_VARIABLE korv_${property} OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endforeach()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR "${korv_GNU_CPU}")
set(CMAKE_C_COMPILER "${korv_GNU_TYPE}-gcc")
set(CMAKE_CXX_COMPILER "${korv_GNU_TYPE}-g++")
set(CMAKE_LIBRARY_ARCHITECTURE "${korv_MULTIARCH}")
set(ENV{PKG_CONFIG_LIBDIR} "/usr/lib/${korv_MULTIARCH}/pkgconfig:/usr/share/pkgconfig")

# Tests, and programs that the build starts, run in an emulator where there is one.
string(REGEX REPLACE "^powerpc" "ppc" korv_emulated_cpu "${korv_GNU_CPU}")
find_program(KORV_EMULATOR NAMES "qemu-${korv_emulated_cpu}-static" "qemu-${korv_emulated_cpu}")
if(KORV_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${KORV_EMULATOR}")
endif()
