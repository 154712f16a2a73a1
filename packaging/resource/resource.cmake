# The resource that describes the effect to its hosts, and the versions of Windows files. The generator
# runs while building, so it is compiled for the building machine even when everything else is
# cross-compiled.
set(LOMIX_RESOURCE_GENERATOR_SOURCES main.cpp Resource.cpp)
list(TRANSFORM LOMIX_RESOURCE_GENERATOR_SOURCES PREPEND ${CMAKE_CURRENT_LIST_DIR}/)
set(LOMIX_RESOURCE_FOLDER ${PROJECT_BINARY_DIR}/resource)
file(MAKE_DIRECTORY ${LOMIX_RESOURCE_FOLDER})
if(CMAKE_CROSSCOMPILING)
  find_program(LOMIX_BUILD_CXX NAMES c++ g++ clang++ REQUIRED
               DOC "Compiler for programs that run while building")
  set(LOMIX_RESOURCE_GENERATOR ${LOMIX_RESOURCE_FOLDER}/lomix_resource)
  add_custom_command(
    OUTPUT ${LOMIX_RESOURCE_GENERATOR}
    COMMAND ${LOMIX_BUILD_CXX} -std=c++20 -O1 -I${PROJECT_SOURCE_DIR}/packaging -I${PROJECT_SOURCE_DIR}/src
            ${LOMIX_RESOURCE_GENERATOR_SOURCES} -o ${LOMIX_RESOURCE_GENERATOR}
    DEPENDS ${LOMIX_RESOURCE_GENERATOR_SOURCES} ${CMAKE_CURRENT_LIST_DIR}/Resource.h
            ${PROJECT_SOURCE_DIR}/src/effect/shell/EffectInfo.h
    COMMENT "Building the resource generator" VERBATIM)
else()
  add_executable(lomix_resource ${LOMIX_RESOURCE_GENERATOR_SOURCES})
  target_include_directories(lomix_resource PRIVATE ${PROJECT_SOURCE_DIR}/packaging
                                                    ${PROJECT_SOURCE_DIR}/src)
  set_target_properties(lomix_resource PROPERTIES
                        RUNTIME_OUTPUT_DIRECTORY ${LOMIX_RESOURCE_FOLDER})
  set(LOMIX_RESOURCE_GENERATOR lomix_resource)
endif()

set(LOMIX_WINDOWS_SCRIPT ${LOMIX_RESOURCE_FOLDER}/Lomix.rc)
set(LOMIX_MAC_RESOURCE ${LOMIX_RESOURCE_FOLDER}/Lomix.rsrc)
add_custom_command(
  OUTPUT ${LOMIX_WINDOWS_SCRIPT} ${LOMIX_MAC_RESOURCE}
  COMMAND ${LOMIX_RESOURCE_GENERATOR} windows ${LOMIX_WINDOWS_SCRIPT}
  COMMAND ${LOMIX_RESOURCE_GENERATOR} mac ${LOMIX_MAC_RESOURCE}
  DEPENDS ${LOMIX_RESOURCE_GENERATOR}
  COMMENT "Writing the effect's resource" VERBATIM)
add_custom_target(lomix_resource_files ALL DEPENDS ${LOMIX_WINDOWS_SCRIPT} ${LOMIX_MAC_RESOURCE})

# lomix_windows_version(TARGET DESCRIPTION): gives a Windows file the version and the names that file
# managers show.
function(lomix_windows_version target description)
  set(script ${LOMIX_RESOURCE_FOLDER}/${target}.rc)
  add_custom_command(
    OUTPUT ${script}
    COMMAND ${LOMIX_RESOURCE_GENERATOR} version $<TARGET_FILE_NAME:${target}> ${description} ${script}
    DEPENDS ${LOMIX_RESOURCE_GENERATOR}
    COMMENT "Writing the version of ${target}" VERBATIM)
  target_sources(${target} PRIVATE ${script})
endfunction()
