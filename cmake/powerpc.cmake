# powerpc.cmake: tool chain for the unit's own machine, a 32-bit big-endian PowerPC, with the libraries that
# scripts/setup_ppc has built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ppc)

set(TARGET powerpc-linux-gnu)
set(CMAKE_C_COMPILER ${TARGET}-gcc)
set(CMAKE_CXX_COMPILER ${TARGET}-g++)

# The libraries are those of the target. The headers are the PC's, because they do not differ.
get_filename_component(TARGET_ROOT ${CMAKE_CURRENT_LIST_DIR}/../build/ppc-root ABSOLUTE)
set(ENV{PKG_CONFIG_LIBDIR} ${TARGET_ROOT}/lib/pkgconfig)
set(GTest_DIR ${TARGET_ROOT}/lib/cmake/GTest)
set(CMAKE_EXE_LINKER_FLAGS_INIT -L${TARGET_ROOT}/lib)
set(CMAKE_BUILD_RPATH ${TARGET_ROOT}/lib)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc -L /usr/${TARGET})
