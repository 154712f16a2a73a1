# lomix_embed_presets(OUT_SOURCE FOLDER): writes a source file that holds every preset of a folder,
# in the order of their names, and sets OUT_SOURCE to its path. CMake runs again when a preset changes.
function(lomix_embed_presets out_source folder)
  file(GLOB presets CONFIGURE_DEPENDS ${folder}/*.json)
  list(SORT presets)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${presets})
  set(entries)
  foreach(preset IN LISTS presets)
    get_filename_component(id ${preset} NAME_WE)
    file(READ ${preset} text)
    string(JSON name GET "${text}" name)
    string(JSON description GET "${text}" description)
    string(APPEND entries "    {\"${id}\", R\"preset(${name})preset\", R\"preset(${description})preset\",\n"
                          "     R\"preset(${text})preset\"},\n")
  endforeach()
  set(source ${CMAKE_CURRENT_BINARY_DIR}/BuiltInPresets.cpp)
  file(CONFIGURE OUTPUT ${source} @ONLY CONTENT [=[
#include "looks/PresetStore.h"

namespace lomix::looks {

std::span<const BuiltInPreset> builtInPresets() {
  static constexpr BuiltInPreset kPresets[] = {
@entries@  };
  return kPresets;
}

}  // namespace lomix::looks
]=])
  set(${out_source} ${source} PARENT_SCOPE)
endfunction()
