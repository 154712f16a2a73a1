# The comparison on emulated processors, so that no target goes untested where this processor has a
# faster one or lacks it. Each run fails unless the program and the library choose the target that it is
# for. A model without AVX, one with AVX2; the emulator knows no AVX-512.
find_program(LOMIX_QEMU_X86_64 qemu-x86_64)
if(CMAKE_CROSSCOMPILING OR LOMIX_SANITIZE OR NOT LOMIX_QEMU_X86_64)
  return()
endif()
foreach(processor Nehalem:portable Haswell:avx2,portable)
  string(REGEX REPLACE ":.*" "" model ${processor})
  string(REGEX REPLACE ".*:" "" targets ${processor})
  string(REGEX REPLACE ",.*" "" best ${targets})
  set(emulator ${LOMIX_QEMU_X86_64} -cpu ${model})
  add_test(NAME "emulated ${model}: rows are the reference's bytes"
           COMMAND ${emulator} $<TARGET_FILE:lomix_differential> --expect-targets ${targets} --pixels 150K)
  if(LOMIX_BUILD_LIBRARY)
    add_test(NAME "emulated ${model}: the library draws with ${best}"
             COMMAND ${emulator} $<TARGET_FILE:library_test> --gtest_brief=1
                     --gtest_filter=Version.*:*Frames.*)
    set_tests_properties("emulated ${model}: the library draws with ${best}" PROPERTIES
                         ENVIRONMENT LOMIX_EXPECT_INSTRUCTION_SET=${best})
  endif()
endforeach()
