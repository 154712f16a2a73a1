/* clang-format off */
/*
 * lomix.h: the Lomix effect for other programs. C11 and C++.
 *
 * Lomix makes a picture look like a badly received television signal. A frame depends on the source
 * picture, the values of thirteen parameters and a time, and on nothing else: the same call gives
 * the same bytes on every machine.
 *
 * The usual way through this header:
 *
 *   1. lomix_look_create() or lomix_look_create_from_preset() makes a look: parameters over time.
 *   2. lomix_look_values() computes their values at one time.
 *   3. lomix_context_render() draws one frame on worker threads. Programs that schedule rows
 *      themselves call lomix_frame_create() and lomix_frame_draw_rows() instead.
 *
 * Conventions
 *
 * - Objects: lomix_look, lomix_frame and lomix_context are opaque. A function whose name contains
 *   "create" or ends in "copy" gives one to the caller, who passes it to ..._destroy in the end.
 *   When such a function fails, it sets the pointer to NULL and there is nothing to destroy.
 *   Every ..._destroy accepts NULL.
 * - Strings: UTF-8, ending in 0. A `const char*` in a struct that the library fills belongs to the
 *   library and stays valid as long as the library is loaded.
 * - Structs: each begins with struct_size, which the caller sets to its sizeof (the ..._INIT macros
 *   do). The library reads and writes no byte beyond it. A field that an older struct
 *   lacks counts as 0.
 * - Errors: every function that can fail returns a status. Its last argument, which may be NULL,
 *   receives the status and a message of one line: "subject: cause (way out)". No function throws,
 *   aborts, prints, or writes outside the memory that it was given. A failed call leaves its objects
 *   as they were.
 * - Threads: each declaration names its rule.
 *   [any thread]             callable at any time on any thread.
 *   [one thread per object]  calls with the same object must not overlap in time.
 *   [shared]                 calls with the same object may overlap, as long as no call of the kind
 *                            above overlaps them.
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

/* ----------------------------------------------------------------------------------- version -- */

/** Version of this header. */
#define LOMIX_VERSION_MAJOR 2
#define LOMIX_VERSION_MINOR 0
#define LOMIX_VERSION_PATCH 0

/** Number of the binary interface: the number in liblomix.so.2 and in lomix_api_2. */
#define LOMIX_API_NUMBER 2

/** The same as one number: 20000 for 2.0.0. */
#define LOMIX_VERSION \
  (LOMIX_VERSION_MAJOR * 10000 + LOMIX_VERSION_MINOR * 100 + LOMIX_VERSION_PATCH)

/** Returns LOMIX_VERSION of the library that is loaded. [any thread] */
LOMIX_API int32_t lomix_version(void);

/** Returns the same as text: "2.0.0". [any thread] */
LOMIX_API const char* lomix_version_text(void);

/** Returns the API number, 2. Every program that includes this header refers to this function by
 *  name, so that a library with another API number fails to load. [any thread] */
LOMIX_API int32_t lomix_api_2(void);

#if defined(__GNUC__) && !defined(LOMIX_BUILDING)
__attribute__((used)) static int32_t (*const lomix_required_api)(void) = lomix_api_2;
#endif

/** Returns the name of the instruction set that draws on this processor, for example "avx2";
 *  "portable" is the code that every processor runs. The bytes are the same with all of them. Later
 *  versions may return names that this one does not know. [any thread] */
LOMIX_API const char* lomix_instruction_set(void);

/* ------------------------------------------------------------------------------------ errors -- */

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

/** Status and message of one call, written by every call that receives it: LOMIX_OK and "" on
 *  success. A message that is too long is cut at the end of a character. A record whose struct_size
 *  leaves no room for a message is not written. */
typedef struct lomix_error {
  uint32_t struct_size;
  lomix_status status;
  char message[504];
} lomix_error;
#define LOMIX_ERROR_INIT {sizeof(lomix_error), LOMIX_OK, {0}}

/* -------------------------------------------------------------------------------- parameters -- */

enum {
  LOMIX_NUMBER = 1, /**< Any number between minimum and maximum. */
  LOMIX_CHOICE = 2  /**< One of several choices, counted from 1. */
};

enum {
  LOMIX_PARAMETER_CONSTANT = 1 /**< One value for all times: keys are refused. */
};

/** A parameter as the effect's panel shows it. Values are in the panel's units: percent from 0 to
 *  100, seconds, rows; choices are counted from 1. */
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

/** Returns the number of parameters, 13. A newer library may have more; new ones come last.
 *  [any thread] */
LOMIX_API int32_t lomix_parameter_count(void);

/** Describes the parameter at index, from 0 to lomix_parameter_count() - 1.
 *  Errors: LOMIX_BAD_ARGUMENT. [any thread] */
LOMIX_API lomix_status lomix_parameter_get(int32_t index, lomix_parameter_info* info,
                                           lomix_error* error);

/** Finds a parameter by its key or panel name. Case does not count; spaces, dashes, underscores and
 *  slashes count alike. Sets *index, to -1 on failure.
 *  Errors: LOMIX_UNKNOWN_NAME, whose message suggests the nearest name; LOMIX_BAD_ARGUMENT.
 *  [any thread] */
LOMIX_API lomix_status lomix_parameter_find(const char* name, int32_t* index, lomix_error* error);

/* ------------------------------------------------------------------------------------- looks -- */

/** Values of parameters over time. Parameters that were never set have their defaults. */
typedef struct lomix_look lomix_look;

enum {
  LOMIX_HOLD = 1,   /**< The value stays until the next key. The only one for choices. */
  LOMIX_LINEAR = 2, /**< The value changes evenly. The default for numbers. */
  LOMIX_EASE = 3    /**< The value starts and ends its change slowly. */
};

/** A value at a time. Before the first key the first key's value applies, after the last key the last
 *  one's. In an array, struct_size of the first element is the distance of all elements. */
typedef struct lomix_key {
  uint32_t struct_size;
  int32_t interpolation; /**< To the next key: LOMIX_HOLD, ...; 0 for the parameter's default. */
  double seconds;
  double value;          /**< In the panel's units. */
} lomix_key;
#define LOMIX_KEY_INIT {sizeof(lomix_key), 0, 0.0, 0.0}

/** Makes a look in which nothing is set.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_look_create(lomix_look** look, lomix_error* error);

/** Makes a look from a preset.
 *  text: the preset's JSON, length bytes, at most 1 MiB.
 *  source: what messages call the text, such as "'my.json'"; NULL for "preset".
 *  Errors: LOMIX_BAD_PRESET, whose message names line and key; LOMIX_BAD_ARGUMENT;
 *  LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_look_create_from_json(const char* text, size_t length,
                                                   const char* source, lomix_look** look,
                                                   lomix_error* error);

/** Makes a look from a built-in preset. id: such as "weak-aerial", compared as names of parameters
 *  are.
 *  Errors: LOMIX_UNKNOWN_NAME, LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_look_create_from_preset(const char* id, lomix_look** look,
                                                     lomix_error* error);

/** Makes an independent copy of a look.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [look: shared] */
LOMIX_API lomix_status lomix_look_copy(const lomix_look* look, lomix_look** copy,
                                       lomix_error* error);

/** Destroys a look. [one thread per object] */
LOMIX_API void lomix_look_destroy(lomix_look* look);

/** Sets a parameter to one value for all times, in place of an earlier value or keys.
 *  name: key or panel name, as in lomix_parameter_find(). value: in the panel's units.
 *  Errors: LOMIX_UNKNOWN_NAME, LOMIX_OUT_OF_RANGE, LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY.
 *  [one thread per object] */
LOMIX_API lomix_status lomix_look_set_number(lomix_look* look, const char* name, double value,
                                             lomix_error* error);

/** Sets a parameter to a value as people type it: "30", "30 %", "Tile", "2".
 *  Errors: as lomix_look_set_number(); LOMIX_BAD_ARGUMENT for a text that is not a number.
 *  [one thread per object] */
LOMIX_API lomix_status lomix_look_set_text(lomix_look* look, const char* name, const char* text,
                                           lomix_error* error);

/** Gives a parameter keys, in place of an earlier value or keys.
 *  keys: count of them, from 1, in order of time, no two at the same time.
 *  Errors: as lomix_look_set_number(); LOMIX_BAD_ARGUMENT also for a parameter whose flags have
 *  LOMIX_PARAMETER_CONSTANT. [one thread per object] */
LOMIX_API lomix_status lomix_look_set_keys(lomix_look* look, const char* name,
                                           const lomix_key* keys, int32_t count,
                                           lomix_error* error);

/** Gives a parameter keys as people type them: "0:0,2.5:60@ease,4:0" (seconds:value@interpolation).
 *  Errors: as lomix_look_set_keys(). [one thread per object] */
LOMIX_API lomix_status lomix_look_set_keys_text(lomix_look* look, const char* name,
                                                const char* text, lomix_error* error);

/** Adds one key to a parameter's keys, or replaces the key at the same time. A parameter that had
 *  one value for all times gets this key alone.
 *  Errors: as lomix_look_set_keys(). [one thread per object] */
LOMIX_API lomix_status lomix_look_add_key(lomix_look* look, const char* name,
                                          const lomix_key* key, lomix_error* error);

/** Gives a parameter its default again.
 *  Errors: LOMIX_UNKNOWN_NAME, LOMIX_BAD_ARGUMENT. [one thread per object] */
LOMIX_API lomix_status lomix_look_reset(lomix_look* look, const char* name, lomix_error* error);

/** Reads a parameter's keys.
 *  keys: receives at most capacity keys; NULL where capacity is 0. The caller sets struct_size of the
 *  first element.
 *  *count: receives the number of all keys, 0 for a parameter with one value for all times.
 *  Errors: LOMIX_UNKNOWN_NAME, LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_look_get_keys(const lomix_look* look, const char* name,
                                           lomix_key* keys, int32_t capacity, int32_t* count,
                                           lomix_error* error);

/** Computes the values of a parameter on the frames that its keys span, for programs that interpolate between
 *  keys in ways of their own.
 *  frames_per_second: as in lomix_time_of_frame().
 *  *first, *count: receive the range: from the last frame at or before the first key to the first one at or
 *  after the last key. *count is 0 for a parameter with fewer than two keys.
 *  values: receives at most capacity values, of the frames from *first on; NULL where capacity is 0.
 *  Errors: LOMIX_UNKNOWN_NAME; LOMIX_BAD_ARGUMENT, also for keys that span 2^24 frames and more. [shared] */
LOMIX_API lomix_status lomix_look_get_frames(const lomix_look* look, const char* name,
                                             double frames_per_second, int64_t* first,
                                             double* values, int32_t capacity, int32_t* count,
                                             lomix_error* error);

/** Computes the values of all parameters at a time.
 *  seconds: finite. values[i] receives the value of the parameter with index i.
 *  count: size of values. A newer library has more parameters than an older caller has values: it
 *  writes count of them.
 *  Errors: LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_look_values(const lomix_look* look, double seconds, double* values,
                                         int32_t count, lomix_error* error);

/** Writes the look as a preset's JSON and a 0.
 *  name, description: of the preset, one line of 1 to 200 bytes each; NULL for "Look" and for a list
 *  of what is set.
 *  buffer: receives the text where size holds it and the 0; else it is unchanged. NULL where size is 0.
 *  *length: receives the bytes of the text without the 0, also where the buffer is too small; may be
 *  NULL.
 *  Errors: LOMIX_BUFFER_TOO_SMALL, LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [shared] */
LOMIX_API lomix_status lomix_look_write_json(const lomix_look* look, const char* name,
                                             const char* description, char* buffer, size_t size,
                                             size_t* length, lomix_error* error);

/* ----------------------------------------------------------------------------------- presets -- */

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

/** Describes the preset at index, from 0 to lomix_preset_count() - 1.
 *  Errors: LOMIX_BAD_ARGUMENT. [any thread] */
LOMIX_API lomix_status lomix_preset_get(int32_t index, lomix_preset_info* info,
                                        lomix_error* error);

/* ------------------------------------------------------------------------------------ frames -- */

/** Order and type of a pixel's channels in memory. The effect treats all colours alike, so RGBA8 and BGRA8
 *  differ where one image of a frame has the one and the other the other: red and blue are exchanged. */
enum {
  LOMIX_ARGB8 = 1,   /**< 4 bytes, 0 to 255. */
  LOMIX_RGBA8 = 2,
  LOMIX_BGRA8 = 3,
  LOMIX_ARGB32F = 4, /**< 4 floats of 32 bits, nominally 0 to 1; any value is accepted. */
  LOMIX_RGBA32F = 5,
  LOMIX_BGRA32F = 6
};

/** How the colours of an image relate to its alpha. The effect is defined on straight colours.
 *  At 8 bits premultiplied colours are divided as round(colour * 255 / alpha), at most 255, and multiplied
 *  as round(colour * alpha / 255); the second gives back every colour up to alpha that the first was given.
 *  Colours under alpha 0 are drawn as they are. In a premultiplied output they stay where the source is
 *  premultiplied too, and are 0 elsewhere. Where both are premultiplied and "Blend w/Original" is 100, nothing
 *  is divided, so that the output has the source's bytes. */
enum {
  LOMIX_STRAIGHT = 0,      /**< Colours are not multiplied by alpha. */
  LOMIX_PREMULTIPLIED = 1, /**< Colours are multiplied by alpha. */
  LOMIX_OPAQUE = 2         /**< The program knows that alpha is 255 or 1 everywhere. Drawn as straight. */
};

/** A picture, or a part of one, in the caller's memory. Row 0 is the top row, whatever the sign of
 *  row_bytes. */
typedef struct lomix_image {
  uint32_t struct_size;
  int32_t format;    /**< LOMIX_ARGB8, ... */
  int32_t width;     /**< Pixels, 1 to 2^24. */
  int32_t height;    /**< Rows, 1 to 2^24. */
  int64_t row_bytes; /**< From a row to the next row below it; negative in bottom-up memory. Its
                          absolute value: at least a row's bytes, at most 2^31 - 1. */
  void* data;        /**< First pixel of row 0. Any address; floats are drawn faster where it and row_bytes
                          are multiples of 4. */
  int32_t alpha;     /**< LOMIX_STRAIGHT, ... */
  /* Of sources that hold a part of a picture, or more than it; 0 in other images. */
  int32_t picture_width;  /**< Size of the picture, 1 to 2^24; 0 where the image is the picture. */
  int32_t picture_height;
  int32_t left;           /**< The picture's column and row of the image's first pixel; any sign. Pixels of
                               the picture that the image lacks are transparent black. An image with
                               width and height 0 and no data lacks them all. */
  int32_t top;
  int32_t reserved;       /**< 0. */
} lomix_image;
#define LOMIX_IMAGE_INIT {sizeof(lomix_image), 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}

/** What a frame depends on beside its source. */
typedef struct lomix_frame_settings {
  uint32_t struct_size;
  int32_t value_count;      /**< Size of values; parameters beyond it have their defaults. */
  const double* values;     /**< By parameter index, inside the valid ranges, as lomix_look_values()
                                 computes them. NULL where value_count is 0. */
  int64_t time_numerator;   /**< The time is time_numerator / time_denominator seconds: 45 / 30. */
  int64_t time_denominator; /**< From 1; or 0, and the time is time_seconds. */
  double time_seconds;      /**< Finite. */
  double scale_x;           /**< Columns of the source over those at full resolution, in (0, 1]: 0.5
                                 where a host renders at half resolution. 0 counts as 1. */
  double scale_y;           /**< The same for rows. */
} lomix_frame_settings;
#define LOMIX_FRAME_SETTINGS_INIT {sizeof(lomix_frame_settings), 0, 0, 0, 0, 0.0, 0.0, 0.0}

/** A frame that is ready to be drawn. */
typedef struct lomix_frame lomix_frame;

/** Prepares a frame: computes everything that is computed once.
 *  source, output: of one format, but for the order of colours, and usually of one size. Output pixel
 *  (x, y) starts from pixel (x, y) of the source's picture; beyond it the effect's own edge rules apply
 *  (Tile, Stretch), and "Blend w/Original" mixes only where both have a pixel. Their memory must not overlap,
 *  and must stay valid until the frame is destroyed. The structs are read during the call only.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_RANGE, LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_frame_create(const lomix_frame_settings* settings,
                                          const lomix_image* source, const lomix_image* output,
                                          lomix_frame** frame, lomix_error* error);

/** Draws rows first to last - 1 of the output, 0 <= first <= last <= its height. Rows may be drawn in any
 *  order by any threads, but no row by two threads at once. Takes no lock. Allocates nothing, but for two or
 *  three rows where pixels are converted: premultiplied or unaligned images, a source that holds a part of
 *  its picture, two orders of colours.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [shared] */
LOMIX_API lomix_status lomix_frame_draw_rows(const lomix_frame* frame, int32_t first, int32_t last,
                                             lomix_error* error);

enum {
  LOMIX_SCAN_PROFILE = 1,  /**< Scan distortion, 0 to 0.3. */
  LOMIX_BARS_PROFILE = 2,  /**< Brightness of the bars, 0 to 1. */
  LOMIX_SIGNAL_PROFILE = 3 /**< Jitter, -1 to 1. */
};

/** Copies the profile of rows first to first + count - 1 of the output, one float a row.
 *  profile: LOMIX_SCAN_PROFILE, ...
 *  Errors: LOMIX_BAD_ARGUMENT. [shared] */
LOMIX_API lomix_status lomix_frame_get_profile(const lomix_frame* frame, int32_t profile,
                                               int32_t first, int32_t count, float* values,
                                               lomix_error* error);

/** Destroys a frame. [one thread per object] */
LOMIX_API void lomix_frame_destroy(lomix_frame* frame);

/* ----------------------------------------------------------------------------------- context -- */

/** Worker threads for whole frames. They sleep between frames and live as long as the context. */
typedef struct lomix_context lomix_context;

/** Makes a context.
 *  threads: how many draw a frame, the caller's among them. 1: the caller's alone. 0: as many as the
 *  machine runs at once. At most 256.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [any thread] */
LOMIX_API lomix_status lomix_context_create(int32_t threads, lomix_context** context,
                                            lomix_error* error);

/** Returns how many threads draw a frame; 0 for NULL. [shared] */
LOMIX_API int32_t lomix_context_threads(const lomix_context* context);

/** A function of the caller that receives how many rows are drawn. It returns 0 to continue and
 *  anything else to end the frame. */
typedef int32_t (*lomix_progress)(void* user, int32_t rows_done, int32_t row_count);

/** Draws a whole frame.
 *  settings, source, output: as in lomix_frame_create(). No thread touches them after the return.
 *  progress: NULL, or called on the caller's thread after each band of at most 16 rows that this
 *  thread draws, and at the end. user: passed on to it.
 *  Errors: as lomix_frame_create(); LOMIX_ABORTED where progress ended the frame, whose output is then
 *  drawn in part. [one thread per object] */
LOMIX_API lomix_status lomix_context_render(lomix_context* context,
                                            const lomix_frame_settings* settings,
                                            const lomix_image* source, const lomix_image* output,
                                            lomix_progress progress, void* user,
                                            lomix_error* error);

/** Destroys a context and ends its worker threads. [one thread per object] */
LOMIX_API void lomix_context_destroy(lomix_context* context);

/* ----------------------------------------------------------------------------------- windows -- */

/** Prepares a frame that has no output image: lomix_frame_draw_window() draws parts of it into memory
 *  of their own. For hosts that request tiles, and for callers that convert the pixels band by band.
 *  settings, source: as in lomix_frame_create(). width, height: of the whole output.
 *  lomix_frame_draw_rows() refuses such a frame.
 *  Errors: as lomix_frame_create(). [any thread] */
LOMIX_API lomix_status lomix_frame_create_for_windows(const lomix_frame_settings* settings,
                                                      const lomix_image* source, int32_t width,
                                                      int32_t height, lomix_frame** frame,
                                                      lomix_error* error);

/** Draws a part of any frame: pixel (x, y) of the window receives pixel (left + x, top + y) of the
 *  output, with the same bytes as in a whole frame, and transparent black outside of the output. Takes no
 *  lock and allocates as lomix_frame_draw_rows() does.
 *  window: in the source's format, but for the order of colours; its memory must not overlap the source's.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_MEMORY. [shared] */
LOMIX_API lomix_status lomix_frame_draw_window(const lomix_frame* frame, int32_t left, int32_t top,
                                               const lomix_image* window, lomix_error* error);

/** Finds out whether a frame is its source, bit by bit, so that a host need not draw it: where
 *  "Blend w/Original" is 100, or everything else is 0 and pixels are opaque floats. At 8 bits the effect rounds
 *  also where everything is 0.
 *  settings: as in lomix_frame_create(). format, alpha: of source and output, as in lomix_image.
 *  *identity: receives 1 or 0; 0 on failure.
 *  Errors: LOMIX_BAD_ARGUMENT, LOMIX_OUT_OF_RANGE. [any thread] */
LOMIX_API lomix_status lomix_settings_are_identity(const lomix_frame_settings* settings, int32_t format,
                                                   int32_t alpha, int32_t* identity,
                                                   lomix_error* error);

/* ------------------------------------------------------------------------------------- times -- */

/** Returns the time in seconds of a frame, counted from 0, at a rate that a program has in floating point.
 *  Rates over 1001 are recognised however they are rounded: frame 45 at 23.976 is 45 * 1001 / 24000.
 *  frame: any number; 4.5 is half-way to the next frame. frames_per_second: 24 applies where it is not above
 *  0 and finite. Never fails: a time that is no finite float is 0. [any thread] */
LOMIX_API double lomix_time_of_frame(double frame, double frames_per_second);

/** Returns the time that a computed time stands for: the quotient of the simplest fraction within 4 ulp of it,
 *  with a denominator of at most a million. 33.366700033366698 / 1000 becomes 1001 / 30000, so that keys fall
 *  on their frames. Any other time is returned as it is. [any thread] */
LOMIX_API double lomix_time_of_seconds(double seconds);

/* ------------------------------------------------------------------------------------ effect -- */

/** Return what menus and panels of hosts show: "Lomix", the name of the group of effects that it
 *  belongs to, and a sentence about it. [any thread] */
LOMIX_API const char* lomix_effect_name(void);
LOMIX_API const char* lomix_effect_category(void);
LOMIX_API const char* lomix_effect_description(void);

#ifdef __cplusplus
}
#endif

#endif
