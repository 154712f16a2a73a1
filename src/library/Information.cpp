// Version, statuses, parameters and presets.

#include <iterator>

#include "engine/SimdTarget.h"
#include "library/Guard.h"
#include "looks/ParameterTable.h"
#include "looks/PresetStore.h"

using lomix::library::Failure;
using lomix::library::guarded;
using lomix::library::require;
using lomix::library::writeStruct;
namespace looks = lomix::looks;

namespace {

/// The library's description of every parameter; the strings are those of the effect's table.
struct Descriptions {
  std::vector<std::vector<const char*>> choices;
  std::vector<lomix_parameter_info> infos;

  Descriptions() {
    const std::vector<looks::Parameter>& all = looks::effectTable().all();
    choices.resize(all.size());
    for (std::size_t i = 0; i < all.size(); ++i) {
      const looks::Parameter& parameter = all[i];
      for (const std::string& text : parameter.choices) choices[i].push_back(text.c_str());
      lomix_parameter_info info = LOMIX_PARAMETER_INFO_INIT;
      info.index = parameter.index;
      info.key = parameter.key.c_str();
      info.name = parameter.name.c_str();
      info.unit = parameter.unit.c_str();
      info.help = parameter.help.c_str();
      info.kind = parameter.isChoice ? LOMIX_CHOICE : LOMIX_NUMBER;
      info.flags = parameter.canChangeOverTime ? 0U : std::uint32_t{LOMIX_PARAMETER_CONSTANT};
      info.minimum = parameter.minimum;
      info.maximum = parameter.maximum;
      info.slider_minimum = parameter.sliderMinimum;
      info.slider_maximum = parameter.sliderMaximum;
      info.default_value = parameter.defaultValue;
      info.decimals = parameter.decimals;
      info.choice_count = static_cast<std::int32_t>(parameter.choices.size());
      info.choices = parameter.isChoice ? choices[i].data() : nullptr;
      infos.push_back(info);
    }
  }
};

const std::vector<lomix_parameter_info>& descriptions() {
  static const Descriptions instance;
  return instance.infos;
}

}  // namespace

int32_t lomix_version(void) { return LOMIX_VERSION; }

#define LOMIX_AS_TEXT(number) #number
#define LOMIX_JOIN(major, minor, patch) \
  LOMIX_AS_TEXT(major) "." LOMIX_AS_TEXT(minor) "." LOMIX_AS_TEXT(patch)

const char* lomix_version_text(void) {
  return LOMIX_JOIN(LOMIX_VERSION_MAJOR, LOMIX_VERSION_MINOR, LOMIX_VERSION_PATCH);
}

int32_t lomix_api_2(void) { return LOMIX_API_NUMBER; }

const char* lomix_effect_name(void) { return looks::effectTexts().name; }
const char* lomix_effect_category(void) { return looks::effectTexts().category; }
const char* lomix_effect_description(void) { return looks::effectTexts().description; }

const char* lomix_instruction_set(void) { return lomix::engine::bestTarget().name; }

const char* lomix_status_text(lomix_status status) {
  switch (status) {
    case LOMIX_OK:
      return "success";
    case LOMIX_BAD_ARGUMENT:
      return "bad argument";
    case LOMIX_OUT_OF_RANGE:
      return "out of range";
    case LOMIX_UNKNOWN_NAME:
      return "unknown name";
    case LOMIX_BAD_PRESET:
      return "bad preset";
    case LOMIX_BUFFER_TOO_SMALL:
      return "buffer too small";
    case LOMIX_OUT_OF_MEMORY:
      return "out of memory";
    case LOMIX_ABORTED:
      return "aborted";
    case LOMIX_INTERNAL_ERROR:
      return "internal error";
    default:
      return "unknown status";
  }
}

int32_t lomix_parameter_count(void) { return lomix::looks::effectParameterCount(); }

lomix_status lomix_parameter_get(int32_t index, lomix_parameter_info* info, lomix_error* error) {
  return guarded(error, [&] {
    require(index >= 0 && index < lomix_parameter_count(),
            "index: there is no such parameter (use 0 to lomix_parameter_count() - 1)");
    writeStruct(descriptions()[static_cast<std::size_t>(index)], info, "info");
  });
}

lomix_status lomix_parameter_find(const char* name, int32_t* index, lomix_error* error) {
  if (index != nullptr) *index = -1;
  return guarded(error, [&] {
    require(name != nullptr && index != nullptr, "name, index: one is null (pass both)");
    *index = looks::effectTable().get(name, "").index;
  });
}

int32_t lomix_preset_count(void) {
  return static_cast<int32_t>(lomix::looks::builtInPresets().size());
}

lomix_status lomix_preset_get(int32_t index, lomix_preset_info* info, lomix_error* error) {
  return guarded(error, [&] {
    require(index >= 0 && index < lomix_preset_count(),
            "index: there is no such preset (use 0 to lomix_preset_count() - 1)");
    const looks::BuiltInPreset& preset = looks::builtInPresets()[static_cast<std::size_t>(index)];
    writeStruct(
        {sizeof(lomix_preset_info), index, preset.id, preset.name, preset.description, preset.text},
        info, "info");
  });
}
