# lomix_engine_mutant(NAME TARGET SOURCE PATTERN REPLACEMENT [PATTERN REPLACEMENT]...): builds
# lomix_differential with one changed source of the engine, or one changed header of its vector code,
# and adds a test that it finds a difference with that SIMD target. A crash fails the test.
function(lomix_engine_mutant name target source)
  set(original ${PROJECT_SOURCE_DIR}/src/engine/${source})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${original})
  file(READ ${original} mutated)
  # By index, since ARGN would split the arguments at semicolons.
  math(EXPR last "${ARGC} - 1")
  foreach(at RANGE 3 ${last} 2)
    math(EXPR after "${at} + 1")
    set(text "${mutated}")
    string(REGEX REPLACE "${ARGV${at}}" "${ARGV${after}}" mutated "${text}")
    if("${mutated}" STREQUAL "${text}")
      message(FATAL_ERROR "${source}: nothing matches '${ARGV${at}}' (adapt mutant ${name})")
    endif()
  endforeach()
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${name})
  set(copy ${folder}/engine/${source})
  set(previous "")
  if(EXISTS ${copy})
    file(READ ${copy} previous)
  endif()
  if(NOT "${mutated}" STREQUAL "${previous}")
    file(WRITE ${copy} "${mutated}")
  endif()

  # Of the files that include a header of the vector code, the one of the target is compiled anew.
  set(sources ${copy})
  if(source MATCHES "\\.h$")
    set(file_avx2 Avx2Target)
    set(file_avx512 Avx512Target)
    set(file_neon NeonTarget)
    set(file_wasm WasmTarget)
    set(sources ${PROJECT_SOURCE_DIR}/src/engine/simd/${file_${target}}.cpp)
  endif()
  # The linker takes the mutated objects first and leaves the library's out.
  add_executable(lomix_mutant_${name} DifferentialMain.cpp ${sources}
                 $<TARGET_OBJECTS:lomix_differential_parts>)
  target_include_directories(lomix_mutant_${name} BEFORE PRIVATE ${folder})
  set_target_properties(lomix_mutant_${name} PROPERTIES
                        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
  target_include_directories(lomix_mutant_${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  lomix_engine_optimise(lomix_mutant_${name})
  target_link_libraries(lomix_mutant_${name} PRIVATE lomix_engine Threads::Threads)
  add_test(NAME "mutant is found: ${name}"
           COMMAND lomix_mutant_${name} --expect-difference --target ${target} --pixels 100M)
  set_tests_properties("mutant is found: ${name}" PROPERTIES
                       SKIP_RETURN_CODE 77 COST 10 LABELS long)
endfunction()
