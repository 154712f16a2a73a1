# Flags of every target of the project. The picture must not depend on the compiler's mood: no
# contraction of a product and a sum into one fused operation, no fast maths.
if(MSVC)
  add_compile_options(/fp:precise /W4 /utf-8)
  if(LOMIX_WERROR)
    add_compile_options(/WX)
  endif()
else()
  add_compile_options(-ffp-contract=off -fno-fast-math -Wall -Wextra -Wpedantic -Wconversion)
  if(LOMIX_WERROR)
    add_compile_options(-Werror)
  endif()
endif()

if(LOMIX_SANITIZE)
  add_compile_options(-fsanitize=${LOMIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LOMIX_SANITIZE})
endif()

find_program(LOMIX_CCACHE ccache)
if(LOMIX_CCACHE)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${LOMIX_CCACHE})
endif()
