/*
 * lomix.h: the Lomix effect for other programs. C11 and C++.
 *
 * Lomix makes a picture look like a badly received television signal. Every frame is a pure function
 * of the source picture, thirteen parameter values and a time: the same call gives the same bytes on
 * every machine. The usual way through this header:
 *
 *   1. lomix_look_create() or lomix_look_create_from_preset(): parameters over time.
 *   2. lomix_look_values(): their values at one time.
 *   3. lomix_context_render(): one frame, on the context's worker threads;
 *      or lomix_frame_create() and lomix_frame_draw_rows(), where a program schedules rows itself.
 *
 * Conventions
 *
 * - Objects (lomix_look, lomix_frame, lomix_context) are opaque. A function named ..._create gives one
 *   to the caller, who gives it back to ..._destroy. On failure the pointer is set to NULL and there is
 *   nothing to destroy. ..._destroy accepts NULL.
 * - Strings are UTF-8 and end in 0. A `const char*` in a struct that the library fills belongs to the
 *   library and lives as long as the library is loaded.
 * - Structs begin with struct_size, which the caller sets to the sizeof that it was compiled with
 *   (the ..._INIT macros do). The library reads and writes no byte beyond it. A field that the
 *   caller's struct is too old to have counts as 0, which is the default of every field.
 * - Every fallible function returns a status and takes an `error` record last, which may be NULL. It
 *   receives the status and a message of one line: "subject: cause (way out)".
 * - No function throws, aborts, prints, or writes outside the memory that it was given.
 * - Each declaration names its threads. [any thread]: callable at any time from any thread.
 *   [one thread per object]: calls with the same object must not overlap; different objects are
 *   independent. [shared]: calls with the same object may overlap.
 */
#ifndef LOMIX_LOMIX_H
#define LOMIX_LOMIX_H

#include <stddef.h>
#include <stdint.h>

#if defined(LOMIX_STATIC)
#define LOMIX_API
#elif defined(_WIN32)
#if defined(LOMIX_BUILDING)
#define LOMIX_API __declspec(dllexport)
#else
#define LOMIX_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define LOMIX_API __attribute__((visibility("default")))
#else
#define LOMIX_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------- version -- */

/** Version of this header. */
#define LOMIX_VERSION_MAJOR 2
#define LOMIX_VERSION_MINOR 0
#define LOMIX_VERSION_PATCH 0

/** Number of the binary interface: the number in liblomix.so.2 and in lomix_api_2. */
#define LOMIX_API_NUMBER 2

typedef struct lomix_version {
  int32_t major;
  int32_t minor;
  int32_t patch;
} lomix_version;

/** Returns the version of the library that is loaded. [any thread] */
LOMIX_API lomix_version lomix_get_version(void);

/** Returns the API number, 2. Its name carries the number too: every program that includes this header
 *  refers to it, so that a library of another API number fails to load. [any thread] */
LOMIX_API int32_t lomix_api_2(void);

#if defined(__GNUC__) && !defined(LOMIX_BUILDING)
__attribute__((used)) static int32_t (*const lomix_required_api)(void) = lomix_api_2;
#endif

/** Returns the name of the instruction set that draws on this processor: "avx512", "avx2" or
 *  "portable". The bytes are the same with all of them. [any thread] */
LOMIX_API const char* lomix_instruction_set(void);

/* -------------------------------------------------------------------------------------- errors -- */

typedef int32_t lomix_status;
enum {
  LOMIX_OK = 0,
  LOMIX_BAD_ARGUMENT = 1,     /**< A null pointer, a size, a format, rows beyond the frame, NaN. */
  LOMIX_OUT_OF_RANGE = 2,     /**< A value outside a parameter's valid range. */
  LOMIX_UNKNOWN_NAME = 3,     /**< No parameter or preset has this name. */
  LOMIX_BAD_PRESET = 4,       /**< The text is not a preset; the message names line and key. */
  LOMIX_BUFFER_TOO_SMALL = 5, /**< The caller's buffer does not hold the result. */
  LOMIX_OUT_OF_MEMORY = 6,    /**< Memory or another resource of the system is exhausted. */
  LOMIX_ABORTED = 7,          /**< The progress callback ended the frame. */
  LOMIX_INTERNAL_ERROR = 8    /**< A fault in the library. */
};

/** Returns a few words about a status, such as "out of range"; "unknown status" for other numbers.
 *  [any thread] */
LOMIX_API const char* lomix_status_text(lomix_status status);

/** What went wrong in one call. Written by every call that it is passed to: on success status is
 *  LOMIX_OK and message is empty. A message that is too long is cut at the end of a character. A
 *  record too small for a message of 1 byte is left as it is. */
typedef struct lomix_error {
  uint32_t struct_size;
  lomix_status status;
  char message[504];
} lomix_error;
#define LOMIX_ERROR_INIT {sizeof(lomix_error), LOMIX_OK, {0}}

/* ---------------------------------------------------------------------------------- parameters -- */

enum {
  LOMIX_NUMBER = 1, /**< Any number between minimum and maximum. */
  LOMIX_CHOICE = 2  /**< One of several choices, counted from 1. */
};

enum {
  LOMIX_PARAMETER_CONSTANT = 1 /**< One value for all times: keys are refused. */
};

/** A parameter as the effect's panel shows it. Values are in the panel's units: percent from 0 to 100,
 *  seconds, rows. */
typedef struct lomix_parameter_info {
  uint32_t struct_size;
  int32_t index;                /**< From 0, in panel order. */
  const char* key;              /**< Stable: "scan_distortion". Never changed or used again. */
  const char* name;             /**< In the panel: "Scan Distortion". */
  const char* unit;             /**< "%", "s", "rows", "rows/s"; "" for none. */
  const char* help;             /**< What it does to the picture, in one line. */
  int32_t kind;                 /**< LOMIX_NUMBER or LOMIX_CHOICE. */
  uint32_t flags;               /**< LOMIX_PARAMETER_... */
  double minimum;               /**< Valid range, both ends included. */
  double maximum;
  double slider_minimum;        /**< What dragging a slider reaches. */
  double slider_maximum;
  double default_value;
  int32_t decimals;             /**< Digits after the point that the panel shows. */
  int32_t choice_count;         /**< 0 for numbers. */
  const char* const* choices;   /**< choice_count texts; NULL for numbers. */
} lomix_parameter_info;
#define LOMIX_PARAMETER_INFO_INIT \
  {sizeof(lomix_parameter_info), 0, 0, 0, 0, 0, 0, 0, 0.0, 0.0, 0.0, 0.0, 0.0, 0, 0, 0}

/** Returns the number of parameters. A newer library may have more than the thirteen of this one, at
 *  the end. [any thread] */
LOMIX_API int32_t lomix_parameter_count(void);

/** Describes the parameter at index, 0 to count - 1. Fails with LOMIX_BAD_ARGUMENT. [any thread] */
LOMIX_API lomix_status lomix_parameter_get(int32_t index, lomix_parameter_info* info,
                                           lomix_error* error);

/** Finds a parameter by its key or panel name, whatever its case; spaces, dashes, underscores and
 *  slashes count alike. Sets *index, or to -1 on failure: LOMIX_UNKNOWN_NAME, whose message suggests
 *  the nearest name, or LOMIX_BAD_ARGUMENT. [any thread] */
LOMIX_API lomix_status lomix_parameter_find(const char* name, int32_t* index, lomix_error* error);

/* --------------------------------------------------------------------------------------- looks -- */

/** Values of parameters over time. Parameters that were never set have their defaults. */
typedef struct lomix_look lomix_look;

enum {
  LOMIX_HOLD = 1,   /**< The value stays until the next key. The only one for choices. */
  LOMIX_LINEAR = 2, /**< The value changes evenly. The default for numbers. */
  LOMIX_EASE = 3    /**< The value starts and ends its change slowly. */
};

/** A value at a time. Before the first key the first value holds, after the last the last. */
typedef struct lomix_key {
  double seconds;
  double value;
  int32_t interpolation; /**< To the next key: LOMIX_HOLD, ...; 0 for the parameter's default. */
  int32_t reserved;      /**< 0. */
} lomix_key;

/** Makes a look in which nothing is set. Fails with LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_look_create(lomix_look** look, lomix_error* error);

/** Reads a preset. text: its JSON, length bytes; source: what messages call it, such as "'my.json'"; NULL
 *  for "preset". At most 1 MiB. Fails with LOMIX_BAD_PRESET. [any thread] */
LOMIX_API lomix_status lomix_look_create_from_json(const char* text, size_t length,
                                                   const char* source, lomix_look** look,
                                                   lomix_error* error);

/** Makes a look from a built-in preset, found by its id as parameters are found by their names. Fails
 *  with LOMIX_UNKNOWN_NAME. [any thread] */
LOMIX_API lomix_status lomix_look_create_from_preset(const char* id, lomix_look** look,
                                                     lomix_error* error);

/** Makes an independent copy. [any thread; look: shared] */
LOMIX_API lomix_status lomix_look_copy(const lomix_look* look, lomix_look** copy,
                                       lomix_error* error);

/** [one thread per object] */
LOMIX_API void lomix_look_destroy(lomix_look* look);

/** Gives a parameter one value for all times, in place of an earlier value or keys. name: as for
 *  lomix_parameter_find(). value: in the panel's units. Fails with LOMIX_UNKNOWN_NAME or
 *  LOMIX_OUT_OF_RANGE; the look is then unchanged. [one thread per object] */
LOMIX_API lomix_status lomix_look_set_number(lomix_look* look, const char* name, double value,
                                             lomix_error* error);

/** Does the same for a value as people type it: "30", "30 %", "Tile", "2". [one thread per object] */
LOMIX_API lomix_status lomix_look_set_text(lomix_look* look, const char* name, const char* text,
                                           lomix_error* error);

/** Gives a parameter keys in place of an earlier value or keys. keys: count from 1, in order of time, no
 *  two at the same time. Fails as lomix_look_set_number() does, and with LOMIX_BAD_ARGUMENT for a
 *  parameter that cannot change over time; the look is then unchanged. [one thread per object] */
LOMIX_API lomix_status lomix_look_set_keys(lomix_look* look, const char* name,
                                           const lomix_key* keys, int32_t count,
                                           lomix_error* error);

/** Does the same for keys as people type them: "0:0,2.5:60@ease,4:0". [one thread per object] */
LOMIX_API lomix_status lomix_look_set_keys_text(lomix_look* look, const char* name,
                                                const char* text, lomix_error* error);

/** Adds one key, or replaces the key at the same time. A parameter that had one value for all times gets
 *  this key alone. Fails as lomix_look_set_keys() does. [one thread per object] */
LOMIX_API lomix_status lomix_look_add_key(lomix_look* look, const char* name,
                                          const lomix_key* key, lomix_error* error);

/** Gives a parameter its default again. [one thread per object] */
LOMIX_API lomix_status lomix_look_reset(lomix_look* look, const char* name, lomix_error* error);

/** Reads a parameter's keys. Writes at most capacity keys to keys (NULL where capacity is 0) and the
 *  number of all of them to *count: 0 for a parameter with one value for all times. Fails with
 *  LOMIX_UNKNOWN_NAME or LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_look_get_keys(const lomix_look* look, const char* name,
                                           lomix_key* keys, int32_t capacity, int32_t* count,
                                           lomix_error* error);

/** Computes the values at a time: values[i] is that of the parameter with index i. count: size of values,
 *  at most lomix_parameter_count() are written. seconds: finite. [shared] */
LOMIX_API lomix_status lomix_look_values(const lomix_look* look, double seconds, double* values,
                                         int32_t count, lomix_error* error);

/** Writes the look as a preset's JSON, 0 at the end included. name, description: of the preset, one line
 *  of at most 200 bytes each; NULL for "Look" and for a list of what is set. *length receives the bytes
 *  without the 0, also where buffer (NULL where size is 0) is too small: LOMIX_BUFFER_TOO_SMALL, and
 *  buffer is then unchanged. [shared] */
LOMIX_API lomix_status lomix_look_write_json(const lomix_look* look, const char* name,
                                             const char* description, char* buffer, size_t size,
                                             size_t* length, lomix_error* error);

/* ------------------------------------------------------------------------------------- presets -- */

/** A preset that comes with the library. */
typedef struct lomix_preset_info {
  uint32_t struct_size;
  int32_t index;           /**< From 0, in order of ids. */
  const char* id;          /**< Stable: "weak-aerial". */
  const char* name;        /**< For people: "Weak aerial". */
  const char* description; /**< One line. */
  const char* json;        /**< The preset's text. */
} lomix_preset_info;
#define LOMIX_PRESET_INFO_INIT {sizeof(lomix_preset_info), 0, 0, 0, 0, 0}

/** Returns the number of built-in presets. [any thread] */
LOMIX_API int32_t lomix_preset_count(void);

/** Describes the preset at index, 0 to count - 1. Fails with LOMIX_BAD_ARGUMENT. [any thread] */
LOMIX_API lomix_status lomix_preset_get(int32_t index, lomix_preset_info* info,
                                        lomix_error* error);

/* -------------------------------------------------------------------------------------- frames -- */

/** Order and type of a pixel's channels in memory. Alpha is straight: colours are not multiplied by it.
 *  The order of the colours plays no part, so that RGBA and BGRA give the same bytes in place. */
enum {
  LOMIX_ARGB8 = 1,   /**< 4 bytes, 0 to 255. */
  LOMIX_RGBA8 = 2,
  LOMIX_BGRA8 = 3,
  LOMIX_ARGB32F = 4, /**< 4 floats of 32 bits, nominally 0 to 1; any value is accepted. */
  LOMIX_RGBA32F = 5
};

/** A picture in the caller's memory. Row 0 is the top row, whatever the sign of row_bytes. */
typedef struct lomix_image {
  uint32_t struct_size;
  int32_t format;    /**< LOMIX_ARGB8, ... */
  int32_t width;     /**< Pixels, from 1. */
  int32_t height;    /**< Rows, from 1. */
  int64_t row_bytes; /**< From one row to the next below; negative where rows lie bottom-up. Its absolute
                          value is at least a row's bytes and fits 31 bits. Floats: a multiple of 4. */
  void* data;        /**< First pixel of row 0. Floats: aligned to 4 bytes. */
} lomix_image;
#define LOMIX_IMAGE_INIT {sizeof(lomix_image), 0, 0, 0, 0, 0}

/** What a frame depends on beside its source. */
typedef struct lomix_frame_settings {
  uint32_t struct_size;
  int32_t value_count;      /**< Size of values; parameters beyond it have their defaults. */
  const double* values;     /**< By parameter index, as lomix_look_values() gives them; inside the valid
                                 ranges. NULL where value_count is 0. Read during the call only. */
  int64_t time_numerator;   /**< Time in seconds as a fraction ... */
  int64_t time_denominator; /**< ... over this, from 1; or 0, and time_seconds counts. */
  double time_seconds;      /**< Finite. Hosts give fractions: 45 over 30 rounds as the plug-in does. */
  double scale_x;           /**< Size of the source as a part of full resolution, in (0, 1]: 0.5 where a
                                 host renders at half resolution. 0 stands for 1. */
  double scale_y;
} lomix_frame_settings;
#define LOMIX_FRAME_SETTINGS_INIT {sizeof(lomix_frame_settings), 0, 0, 0, 0, 0.0, 0.0, 0.0}

/** A frame that is ready to be drawn. */
typedef struct lomix_frame lomix_frame;

/** Prepares a frame: all that can be computed once is computed here.
 *  source, output: of one format; of different sizes if need be: the output is then a window of the
 *  size it has at the source's top left corner, filled beyond the source by the effect's own edge rules,
 *  and "Blend w/Original" mixes where both have pixels. Their memory must not overlap, and must live
 *  until the frame is destroyed. The structs themselves are read during the call only.
 *  Fails with LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_RANGE or LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_frame_create(const lomix_frame_settings* settings,
                                          const lomix_image* source, const lomix_image* output,
                                          lomix_frame** frame, lomix_error* error);

/** Draws rows first to last - 1 of the output. 0 <= first <= last <= the output's height. Allocates
 *  nothing and takes no lock. Threads that draw different rows need no order among them; the same row
 *  must not be drawn by two threads at once. Fails with LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_frame_draw_rows(const lomix_frame* frame, int32_t first, int32_t last,
                                             lomix_error* error);

enum {
  LOMIX_SCAN_PROFILE = 1,  /**< Scan distortion, 0 to 0.3. */
  LOMIX_BARS_PROFILE = 2,  /**< Brightness of the bars, 0 to 1. */
  LOMIX_SIGNAL_PROFILE = 3 /**< Jitter, -1 to 1. */
};

/** Copies the profile that shapes the frame's rows first to first + count - 1, one float a row. Fails
 *  with LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_frame_get_profile(const lomix_frame* frame, int32_t profile,
                                               int32_t first, int32_t count, float* values,
                                               lomix_error* error);

/** [one thread per object; no call of lomix_frame_draw_rows() may be under way] */
LOMIX_API void lomix_frame_destroy(lomix_frame* frame);

/* ------------------------------------------------------------------------------------- context -- */

/** Worker threads for whole frames. They sleep between frames and live as long as the context. */
typedef struct lomix_context lomix_context;

/** Makes a context. threads: how many draw a frame, the caller's own among them: 1 for the caller's alone,
 *  0 for as many as the machine runs at once; at most 256. Fails with LOMIX_BAD_ARGUMENT or
 *  LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_context_create(int32_t threads, lomix_context** context,
                                            lomix_error* error);

/** Returns how many threads draw a frame; 0 for NULL. [shared] */
LOMIX_API int32_t lomix_context_threads(const lomix_context* context);

/** Told how many rows of the frame are drawn. Returns 0 to go on, anything else to end the frame. */
typedef int32_t (*lomix_progress)(void* user, int32_t rows_done, int32_t row_count);

/** Draws a whole frame. settings, source, output: as for lomix_frame_create(). progress: NULL, or called
 *  on the caller's thread at least once in 16 rows that this thread draws, and at the end; user: passed
 *  on to it. Fails as lomix_frame_create() does, and with LOMIX_ABORTED where progress ended the frame:
 *  some rows of the output are then drawn. No thread touches the images after the return.
 *  [one thread per object] */
LOMIX_API lomix_status lomix_context_render(lomix_context* context,
                                            const lomix_frame_settings* settings,
                                            const lomix_image* source, const lomix_image* output,
                                            lomix_progress progress, void* user,
                                            lomix_error* error);

/** Ends the worker threads. [one thread per object] */
LOMIX_API void lomix_context_destroy(lomix_context* context);

#ifdef __cplusplus
}
#endif

#endif
