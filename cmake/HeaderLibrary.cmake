# lomix_header_library(NAME HEADER): a target lomix_headers_NAME with the folder in which HEADER, as
# NAME/..., is found on this machine. When cross-compiling, the target sees a link to the folder NAME
# alone: the other headers of /usr/include belong to this machine's system, not to the target's.
function(lomix_header_library name header)
  find_path(LOMIX_HEADERS_${name} ${header} REQUIRED NO_CMAKE_FIND_ROOT_PATH
            PATHS /usr/include /usr/local/include)
  set(include ${LOMIX_HEADERS_${name}})
  if(CMAKE_CROSSCOMPILING)
    set(include ${PROJECT_BINARY_DIR}/headers)
    file(MAKE_DIRECTORY ${include})
    file(CREATE_LINK ${LOMIX_HEADERS_${name}}/${name} ${include}/${name} SYMBOLIC)
  endif()
  add_library(lomix_headers_${name} INTERFACE)
  target_include_directories(lomix_headers_${name} SYSTEM INTERFACE ${include})
endfunction()
