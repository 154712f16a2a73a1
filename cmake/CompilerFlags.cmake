# Flags of every target of the project. The pixels must not depend on the compiler: it must not fuse
# multiplications and additions, and must not use fast maths.
if(MSVC)
  add_compile_options(/fp:precise /W4 /utf-8)
  if(LOMIX_WERROR)
    add_compile_options(/WX)
  endif()
else()
  add_compile_options(-ffp-contract=off -fno-fast-math -Wall -Wextra -Wpedantic -Wconversion)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # GCC 12 warns of overlapping copies in std::string where there are none.
    add_compile_options(-Wno-restrict)
  endif()
  if(LOMIX_WERROR)
    add_compile_options(-Werror)
  endif()
endif()

if(MINGW)
  # Both hosts require a processor with AVX2. std::fma is exact only when the compiler writes the FMA
  # instruction: the function of this C runtime is not exact. GCC aligns the stack to 16 bytes, yet
  # writes aligned moves of 32 bytes; the assembler turns them into unaligned ones.
  add_compile_options(-march=x86-64-v3 -Wa,-muse-unaligned-vector-move)
  # Needs no library but the system's; the same sources give the same bytes.
  add_link_options(-static LINKER:--no-insert-timestamp,--strip-all)
endif()

# Control-flow guard: Windows checks the targets of indirect calls. GCC does not have it.
if(MSVC)
  add_compile_options(/guard:cf)
  add_link_options(/guard:cf)
elseif(MINGW)
  include(CheckCXXCompilerFlag)
  check_cxx_compiler_flag(-mguard=cf LOMIX_HAS_GUARD)
  if(LOMIX_HAS_GUARD)
    add_compile_options(-mguard=cf)
    add_link_options(-mguard=cf)
  endif()
endif()

if(LOMIX_SANITIZE)
  add_compile_options(-fsanitize=${LOMIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LOMIX_SANITIZE})
  if(LOMIX_SANITIZE MATCHES undefined)
    # This check writes into a pipe, and waits for ever where a test lets writes fail.
    add_compile_options(-fno-sanitize=vptr)
    add_link_options(-fno-sanitize=vptr)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # With sanitizers GCC 12 takes variables of the standard library for uninitialised.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

if(LOMIX_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang OR NOT LOMIX_BUILD_TESTS)
    message(FATAL_ERROR "LOMIX_BUILD_FUZZERS: the fuzzers are tests for Clang "
                        "(choose it with CMAKE_CXX_COMPILER, and LOMIX_BUILD_TESTS=ON)")
  endif()
  # Counts what an input reaches.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# A project around this one chooses its own launcher.
find_program(LOMIX_CCACHE ccache)
if(LOMIX_CCACHE AND PROJECT_IS_TOP_LEVEL)
  # ccache keeps what is compiled with precompiled headers only if it may ignore these two.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
      CCACHE_SLOPPINESS=pch_defines,time_macros ${LOMIX_CCACHE})
endif()

# lomix_precompile(TARGET HEADER...): precompiles large headers that many files of TARGET include.
# The files go on including what they use.
function(lomix_precompile target)
  string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
  # At -O3 GCC 12 warns of the standard library's strings where they are precompiled.
  if(NOT LOMIX_PRECOMPILE OR "${CMAKE_CXX_FLAGS_${type}}" MATCHES "-O3")
    return()
  endif()
  target_precompile_headers(${target} PRIVATE ${ARGN})
  if(LOMIX_CCACHE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${target} PRIVATE -fpch-preprocess)
  endif()
endfunction()

# lomix_unity(TARGET): compiles several files of TARGET as one, which saves most of the time where large
# headers take longer than the files. Such files must not define the same name in their unnamed
# namespaces. tools/check_single_files.sh sees that none leans on the includes of another.
function(lomix_unity target)
  if(LOMIX_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 6)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
      # GCC takes a file that is included for a header, whose unnamed namespace would be a fault.
      target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
  endif()
endfunction()
