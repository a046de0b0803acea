# powerpc.cmake: the unit's own machine, 32-bit big-endian PowerPC, with what scripts/setup_ppc has made.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(TARGET powerpc-linux-gnu)
set(CMAKE_C_COMPILER ${TARGET}-gcc)
set(CMAKE_CXX_COMPILER ${TARGET}-g++)

# Libraries are the target's own; headers, which are the same everywhere, are the PC's.
get_filename_component(TARGET_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/ppc-root ABSOLUTE)
set(ENV{PKG_CONFIG_LIBDIR} ${TARGET_ROOT}/lib/pkgconfig)
set(GTest_DIR ${TARGET_ROOT}/lib/cmake/GTest)
set(CMAKE_EXE_LINKER_FLAGS_INIT -L${TARGET_ROOT}/lib)
set(CMAKE_BUILD_RPATH ${TARGET_ROOT}/lib)
set(TARGET_LIBRARIES ${TARGET_ROOT}/lib) # for programs that have no such path
set(TARGET_LINK_FLAGS -Wl,-rpath-link,${TARGET_ROOT}/lib)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/${TARGET})
