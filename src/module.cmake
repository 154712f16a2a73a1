# The plug-in module that a host loads. It exports EntryPointFunc and nothing else: a symbol of the
# standard library that leaked out would clash with the host's own copy.
function(lomix_module target engine)
  add_library(${target} MODULE ${LOMIX_EFFECT_OBJECTS} ${LOMIX_DRAW_FRAME_${engine}})
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  set_target_properties(${target} PROPERTIES OUTPUT_NAME Lomix PREFIX "" LINKER_LANGUAGE CXX)
  if(WIN32)
    target_sources(${target} PRIVATE module.def ${LOMIX_WINDOWS_SCRIPT})
    add_dependencies(${target} lomix_resource_files)
    set_target_properties(${target} PROPERTIES SUFFIX ".aex")
  elseif(APPLE)
    set_target_properties(${target} PROPERTIES BUNDLE TRUE BUNDLE_EXTENSION "plugin")
    target_link_options(${target} PRIVATE "LINKER:-exported_symbol,_EntryPointFunc")
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
