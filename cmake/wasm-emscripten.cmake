# Compilation to WebAssembly with Debian's emscripten: programs that node runs (tools/check_wasm.sh), or with
# LOMIX_BUILD_WEB the module of the browser page (tools/web.sh). One thread; vector instructions of 128 bits,
# without them where LOMIX_WASM_SIMD is OFF.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
option(LOMIX_WASM_SIMD "Compile for WebAssembly's vector instructions" ON)
# Exceptions carry the library's errors, and the memory has to hold the pictures.
set(vectors "")
if(LOMIX_WASM_SIMD)
  set(vectors "-msimd128 ")
endif()
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_INIT "${vectors}-fwasm-exceptions")
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem \"${CMAKE_CURRENT_LIST_DIR}/wasm\"")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fwasm-exceptions -sALLOW_MEMORY_GROWTH=1")
if(NOT LOMIX_BUILD_WEB)
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -sNODERAWFS=1 -sEXIT_RUNTIME=1")
endif()
