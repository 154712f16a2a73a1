/*
 * Usage: ppm INPUT.ppm OUTPUT.ppm PRESET SECONDS
 * Draws one picture with one of Lomix's presets, as it looks at a time.
 */
#include <lomix/lomix.h>
#include <stdio.h>
#include <stdlib.h>

typedef struct picture {
  int width;
  int height;
  unsigned char* rgba; /* NULL where reading failed. */
} picture;

/* Reads a binary PPM of 8 bits without comments. The pixels get an opaque alpha. */
static picture read_ppm(const char* name) {
  picture result = {0, 0, NULL};
  FILE* file = fopen(name, "rb");
  if (file == NULL) return result;
  int depth = 0;
  if (fscanf(file, "P6 %d %d %d", &result.width, &result.height, &depth) == 3 && depth == 255 &&
      result.width > 0 && result.width < 32768 && result.height > 0 && result.height < 32768 &&
      fgetc(file) != EOF) {
    const size_t count = (size_t)result.width * (size_t)result.height;
    result.rgba = malloc(count * 4);
    for (size_t i = 0; result.rgba != NULL && i < count; ++i) {
      result.rgba[4 * i + 3] = 255;
      if (fread(result.rgba + 4 * i, 3, 1, file) != 1) {
        free(result.rgba);
        result.rgba = NULL;
      }
    }
  }
  fclose(file);
  return result;
}

/* Returns 0 where the whole file was written. */
static int write_ppm(const char* name, const picture* drawn) {
  FILE* file = fopen(name, "wb");
  if (file == NULL) return 1;
  const size_t count = (size_t)drawn->width * (size_t)drawn->height;
  int failed = fprintf(file, "P6\n%d %d\n255\n", drawn->width, drawn->height) < 0;
  for (size_t i = 0; i < count && !failed; ++i) {
    failed = fwrite(drawn->rgba + 4 * i, 3, 1, file) != 1;
  }
  return fclose(file) != 0 || failed;
}

/* Draws source into output, a picture of the same size. */
static lomix_status draw(const char* preset, double seconds, const picture* source,
                         const picture* output, lomix_error* error) {
  const int32_t count = lomix_parameter_count();
  double* values = calloc((size_t)count, sizeof *values);
  lomix_look* look = NULL;
  lomix_context* context = NULL;
  lomix_status status = values == NULL ? LOMIX_OUT_OF_MEMORY : LOMIX_OK;

  /* The parameters' values at this time. */
  if (status == LOMIX_OK) status = lomix_look_create_from_preset(preset, &look, error);
  if (status == LOMIX_OK) status = lomix_look_values(look, seconds, values, count, error);

  /* The frame, on as many threads as the machine runs at once. A program that draws many frames
     keeps the context. */
  if (status == LOMIX_OK) status = lomix_context_create(0, &context, error);
  if (status == LOMIX_OK) {
    lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
    settings.values = values;
    settings.value_count = count;
    settings.time_seconds = seconds;
    lomix_image from = LOMIX_IMAGE_INIT;
    from.format = LOMIX_RGBA8;
    from.width = source->width;
    from.height = source->height;
    from.row_bytes = (int64_t)source->width * 4;
    from.data = source->rgba;
    lomix_image to = from;
    to.data = output->rgba;
    status = lomix_context_render(context, &settings, &from, &to, NULL, NULL, error);
  }

  lomix_context_destroy(context);
  lomix_look_destroy(look);
  free(values);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 5) {
    fprintf(stderr, "usage: ppm INPUT.ppm OUTPUT.ppm PRESET SECONDS\n");
    return 2;
  }
  int result = 0;
  lomix_status status = LOMIX_OK;
  lomix_error error = LOMIX_ERROR_INIT;
  const picture source = read_ppm(argv[1]);
  picture output = source;
  output.rgba = NULL;
  if (source.rgba != NULL) output.rgba = malloc((size_t)source.width * (size_t)source.height * 4);

  if (source.rgba == NULL || output.rgba == NULL) {
    fprintf(stderr, "error: cannot read '%s' (use a binary PPM of 8 bits)\n", argv[1]);
    result = 1;
  } else if ((status = draw(argv[3], strtod(argv[4], NULL), &source, &output, &error)) !=
             LOMIX_OK) {
    fprintf(stderr, "error: %s\n", error.message[0] ? error.message : lomix_status_text(status));
    result = 1;
  } else if (write_ppm(argv[2], &output) != 0) {
    fprintf(stderr, "error: cannot write '%s' (check the folder)\n", argv[2]);
    result = 1;
  }
  free(output.rgba);
  free(source.rgba);
  return result;
}
