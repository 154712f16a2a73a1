# The plug-in module that a host loads. It exports EntryPointFunc and nothing else: a symbol of the
# standard library that leaked out would clash with the host's own copy.
function(lomix_module target engine)
  set(objects $<TARGET_OBJECTS:lomix_hostapi_objects> $<TARGET_OBJECTS:lomix_effect_objects>
              $<TARGET_OBJECTS:lomix_draw_${engine}>)
  if(engine STREQUAL "rows")
    list(APPEND objects $<TARGET_OBJECTS:lomix_engine_objects>)
  endif()
  add_library(${target} MODULE ${objects})
  target_include_directories(${target} PRIVATE ${LOMIX_SOURCE_FOLDER})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME Lomix PREFIX "" LINKER_LANGUAGE CXX)
  if(WIN32)
    target_sources(${target} PRIVATE ${LOMIX_WINDOWS_SCRIPT})
    add_dependencies(${target} lomix_resource_files)
    set_target_properties(${target} PROPERTIES SUFFIX ".aex")
  elseif(APPLE)
    set(package ${PROJECT_SOURCE_DIR}/packaging/macos)
    target_sources(${target} PRIVATE ${LOMIX_MAC_RESOURCE} ${package}/PkgInfo)
    add_dependencies(${target} lomix_resource_files)
    set_source_files_properties(${LOMIX_MAC_RESOURCE} PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
    set_source_files_properties(${package}/PkgInfo PROPERTIES MACOSX_PACKAGE_LOCATION .)
    set(exports ${LOMIX_SOURCE_FOLDER}/effect/module.symbols)
    set_target_properties(${target} PROPERTIES BUNDLE TRUE BUNDLE_EXTENSION plugin
                          MACOSX_BUNDLE_INFO_PLIST ${package}/Info.plist.in LINK_DEPENDS ${exports})
    # Cross-compiling, CMake calls the linker without the compiler.
    if(CMAKE_CROSSCOMPILING)
      target_link_options(${target} PRIVATE -exported_symbols_list ${exports})
    else()
      target_link_options(${target} PRIVATE "LINKER:-exported_symbols_list,${exports}")
    endif()
  else()
    set(exports ${LOMIX_SOURCE_FOLDER}/effect/module.exports)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
    set_target_properties(${target} PROPERTIES SUFFIX ".so" LINK_DEPENDS ${exports})
  endif()
endfunction()

if(NOT TARGET lomix_draw_${LOMIX_RENDERER})
  message(FATAL_ERROR "LOMIX_RENDERER is '${LOMIX_RENDERER}' (choose reference or rows)")
endif()

# The module of the chosen renderer, and beside it one of each.
lomix_module(Lomix ${LOMIX_RENDERER})
foreach(engine reference rows)
  lomix_module(Lomix_${engine} ${engine})
  set_target_properties(Lomix_${engine} PROPERTIES
                        LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin/${engine})
endforeach()

# The command looks for the module in lib/lomix, whatever the system calls its folder of libraries;
# the module of the other renderer is in a sub-folder.
if(LOMIX_INSTALL AND NOT WIN32 AND NOT APPLE)
  install(TARGETS Lomix LIBRARY DESTINATION lib/lomix COMPONENT command)
  foreach(engine reference rows)
    if(NOT engine STREQUAL LOMIX_RENDERER)
      install(TARGETS Lomix_${engine} LIBRARY DESTINATION lib/lomix/${engine} COMPONENT command)
    endif()
  endforeach()
endif()
