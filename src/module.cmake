# The plug-in module that a host loads. It exports EntryPointFunc and nothing else: a symbol of the
# standard library that leaked out would clash with the host's own copy.
function(lomix_module target engine)
  add_library(${target} MODULE ${LOMIX_EFFECT_OBJECTS} ${LOMIX_DRAW_FRAME_${engine}})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
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
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/module.symbols)
    set_target_properties(${target} PROPERTIES BUNDLE TRUE BUNDLE_EXTENSION plugin
                          MACOSX_BUNDLE_INFO_PLIST ${package}/Info.plist.in LINK_DEPENDS ${exports})
    # Cross-compiling, the linker is called by itself.
    if(CMAKE_CROSSCOMPILING)
      target_link_options(${target} PRIVATE -exported_symbols_list ${exports})
    else()
      target_link_options(${target} PRIVATE "LINKER:-exported_symbols_list,${exports}")
    endif()
  else()
    set(exports ${CMAKE_CURRENT_SOURCE_DIR}/module.exports)
    target_link_options(${target} PRIVATE "LINKER:--version-script=${exports}")
    set_target_properties(${target} PROPERTIES SUFFIX ".so" LINK_DEPENDS ${exports})
  endif()
endfunction()

# The module of the chosen engine, and beside it one of each.
lomix_module(Lomix ${LOMIX_ENGINE})
foreach(engine kernel rows)
  lomix_module(Lomix_${engine} ${engine})
  set_target_properties(Lomix_${engine} PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                        ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${engine})
endforeach()

# The command looks for the module in lib/lomix; the other kind lies in a folder of its engine.
if(NOT WIN32 AND NOT APPLE)
  install(TARGETS Lomix LIBRARY DESTINATION lib/lomix)
  foreach(engine kernel rows)
    if(NOT engine STREQUAL LOMIX_ENGINE)
      install(TARGETS Lomix_${engine} LIBRARY DESTINATION lib/lomix/${engine})
    endif()
  endforeach()
endif()
