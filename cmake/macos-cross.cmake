# Cross-compilation of the plug-in for macOS. tools/build_macos.sh makes the folder LOMIX_MACOS_TOOLS
# with the compiler and the static C++ library for one processor. The compiler's own linker makes no
# bundles, so LLVM's linker does.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${LOMIX_MACOS_ARCH})
set(CMAKE_CXX_COMPILER ${LOMIX_MACOS_TOOLS}/c++)
set(CMAKE_CXX_COMPILER_WORKS TRUE)
# Frame pointers let every function use the compact form of unwind information. Debug information would
# contain the folder of the sources, so that packages would differ from folder to folder.
set(CMAKE_CXX_FLAGS_INIT "-fno-omit-frame-pointer -g0")
set(CMAKE_AR llvm-ar-14)
set(CMAKE_RANLIB llvm-ranlib-14)
set(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool-14)
set(CMAKE_OSX_SYSROOT "" CACHE STRING "")
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LOMIX_MACOS_ARCH LOMIX_MACOS_TOOLS)
# Read after the rules for macOS, which it changes.
set(CMAKE_USER_MAKE_RULES_OVERRIDE ${CMAKE_CURRENT_LIST_DIR}/macos-cross-rules.cmake)
