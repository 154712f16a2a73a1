/*
 * A program as it was written for the first version of the C API: api-2/lomix/lomix.h is that
 * version and never changes. It runs against the library of today and ends with 1 and a line for
 * every surprise.
 */
#include <stdio.h>
#include <string.h>

#include "lomix/lomix.h"

static int failures = 0;

static void expect(int condition, const char* what) {
  if (condition) return;
  printf("unexpected: %s\n", what);
  ++failures;
}

enum { kWidth = 61, kHeight = 47, kValues = 13, kKnownErrors = LOMIX_INTERNAL_ERROR };

static unsigned char source[kHeight][kWidth][4];
static unsigned char output[kHeight][kWidth][4];

static lomix_image imageOf(void* pixels) {
  lomix_image image = LOMIX_IMAGE_INIT;
  image.format = LOMIX_BGRA8;
  image.width = kWidth;
  image.height = kHeight;
  image.row_bytes = kWidth * 4;
  image.data = pixels;
  return image;
}

/* 64-bit FNV-1a. */
static unsigned long long hashOf(const unsigned char* bytes, size_t count) {
  unsigned long long hash = 0xCBF29CE484222325ULL;
  size_t i;
  for (i = 0; i < count; ++i) hash = (hash ^ bytes[i]) * 0x100000001B3ULL;
  return hash;
}

static int32_t countCalls(void* user, int32_t done, int32_t rows) {
  *(int*)user += done <= rows ? 1 : 1000000;
  return 0;
}

/* Structs that lie before a guard, as a larger struct of a newer library would write over it. */
static void checkSizes(void) {
  struct {
    lomix_parameter_info info;
    unsigned char guard[256];
  } parameter = {LOMIX_PARAMETER_INFO_INIT, {0}};
  struct {
    lomix_preset_info info;
    unsigned char guard[256];
  } preset = {LOMIX_PRESET_INFO_INIT, {0}};
  struct {
    lomix_error error;
    unsigned char guard[256];
  } error = {LOMIX_ERROR_INIT, {0}};
  size_t i;
  memset(parameter.guard, 0xA5, sizeof parameter.guard);
  memset(preset.guard, 0xA5, sizeof preset.guard);
  memset(error.guard, 0xA5, sizeof error.guard);
  expect(lomix_parameter_get(8, &parameter.info, &error.error) == LOMIX_OK, "parameter 8");
  expect(strcmp(parameter.info.key, "noise") == 0 && strcmp(parameter.info.unit, "%") == 0 &&
             parameter.info.minimum == 0.0 && parameter.info.maximum == 100.0,
         "what noise is");
  expect(lomix_preset_get(0, &preset.info, &error.error) == LOMIX_OK, "preset 0");
  expect(lomix_parameter_get(-1, &parameter.info, &error.error) == LOMIX_BAD_ARGUMENT &&
             error.error.message[0] != 0,
         "an error");
  for (i = 0; i < 256; ++i) {
    if (parameter.guard[i] != 0xA5 || preset.guard[i] != 0xA5 || error.guard[i] != 0xA5) {
      expect(0, "a struct was written beyond its end");
      return;
    }
  }
}

int main(void) {
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_look* look = NULL;
  lomix_frame* frame = NULL;
  lomix_context* context = NULL;
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  lomix_key key = LOMIX_KEY_INIT;
  lomix_image from = imageOf(source);
  lomix_image to = imageOf(output);
  double values[kValues];
  int32_t index = -1;
  int calls = 0;
  unsigned long long whole, rows;
  int x, y;
  for (y = 0; y < kHeight; ++y) {
    for (x = 0; x < kWidth; ++x) {
      source[y][x][0] = (unsigned char)(x * 4);
      source[y][x][1] = (unsigned char)(y * 5);
      source[y][x][2] = (unsigned char)(x * y);
      source[y][x][3] = (unsigned char)(x % 3 == 0 ? 255 : x + y);
    }
  }

  checkSizes();
  expect(lomix_api_2() == 2, "the API number");
  expect(lomix_version() >= LOMIX_VERSION, "an older library");
  expect(lomix_parameter_count() >= kValues, "fewer parameters");
  expect(strcmp(lomix_status_text(LOMIX_OK), lomix_status_text(kKnownErrors)) != 0, "status texts");
  expect(lomix_parameter_find("Scan Distortion", &index, &error) == LOMIX_OK && index == 4,
         "where Scan Distortion is");

  expect(lomix_look_create_from_preset("weak-aerial", &look, &error) == LOMIX_OK, error.message);
  expect(lomix_look_set_text(look, "noise", "25 %", &error) == LOMIX_OK, error.message);
  expect(lomix_look_set_number(look, "distortion_mode", 1.0, &error) == LOMIX_OK, error.message);
  key.seconds = 2.0;
  key.value = 40.0;
  key.interpolation = LOMIX_EASE;
  expect(lomix_look_add_key(look, "bars_overlay", &key, &error) == LOMIX_OK, error.message);
  expect(lomix_look_values(look, 1.5, values, kValues, &error) == LOMIX_OK, error.message);
  lomix_look_destroy(look);

  settings.values = values;
  settings.value_count = kValues;
  settings.time_numerator = 45;
  settings.time_denominator = 30;
  settings.scale_x = settings.scale_y = 0.5;
  expect(lomix_context_create(2, &context, &error) == LOMIX_OK, error.message);
  expect(
      lomix_context_render(context, &settings, &from, &to, countCalls, &calls, &error) == LOMIX_OK,
      error.message);
  expect(calls > 0 && calls < 1000, "calls of the progress callback");
  lomix_context_destroy(context);
  whole = hashOf(&output[0][0][0], sizeof output);

  memset(output, 0, sizeof output);
  expect(lomix_frame_create(&settings, &from, &to, &frame, &error) == LOMIX_OK, error.message);
  expect(lomix_frame_draw_rows(frame, 20, kHeight, &error) == LOMIX_OK, error.message);
  expect(lomix_frame_draw_rows(frame, 0, 20, &error) == LOMIX_OK, error.message);
  lomix_frame_destroy(frame);
  rows = hashOf(&output[0][0][0], sizeof output);

  expect(whole == rows, "rows and the whole frame differ");
  printf("frame %016llx\n", whole);
  expect(whole == LOMIX_TEST_FRAME, "the frame is not the one that the first version drew");
  return failures == 0 ? 0 : 1;
}
