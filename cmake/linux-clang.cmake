# Compilation for Linux with the Clang that builds the macOS bundles, so that its code for either
# processor can be run here. LOMIX_CLANG_ARCH: x86_64 or aarch64; for the latter Debian's
# g++-aarch64-linux-gnu has the libraries. tools/setup_clang.sh installs the compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${LOMIX_CLANG_ARCH})
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${LOMIX_CLANG_ARCH}-linux-gnu)
endforeach()
set(CMAKE_C_COMPILER ${CMAKE_CURRENT_LIST_DIR}/../build/tools/clang/cc)
set(CMAKE_CXX_COMPILER ${CMAKE_CURRENT_LIST_DIR}/../build/tools/clang/c++)
set(CMAKE_AR ${LOMIX_CLANG_ARCH}-linux-gnu-ar CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB ${LOMIX_CLANG_ARCH}-linux-gnu-ranlib CACHE FILEPATH "Indexer of archives")
if(LOMIX_CLANG_ARCH STREQUAL "aarch64")
  # The processor that the macOS bundles are compiled for.
  foreach(language C CXX)
    set(CMAKE_${language}_FLAGS_INIT -mcpu=apple-m1)
  endforeach()
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LOMIX_CLANG_ARCH)
