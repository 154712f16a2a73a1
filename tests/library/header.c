/* The header by itself, as C and as C++, and each kind of struct in it. */
#include "lomix/lomix.h"

int headerCompiles(void);
int headerCompiles(void) {
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_parameter_info parameter = LOMIX_PARAMETER_INFO_INIT;
  lomix_preset_info preset = LOMIX_PRESET_INFO_INIT;
  lomix_image image = LOMIX_IMAGE_INIT;
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  lomix_key key = LOMIX_KEY_INIT;
  return (int)(error.status + parameter.index + preset.index + image.width + settings.value_count +
               key.interpolation);
}
