# Compilation to WebAssembly with Debian's emscripten, as programs that node runs. One thread; vector
# instructions of 128 bits. tools/check_wasm.sh uses it.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
# Exceptions carry the library's errors, and the memory has to hold the pictures of the tests.
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_INIT "-msimd128 -fwasm-exceptions")
endforeach()
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${CMAKE_CURRENT_LIST_DIR}/wasm")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fwasm-exceptions -sALLOW_MEMORY_GROWTH=1 -sNODERAWFS=1 -sEXIT_RUNTIME=1")
