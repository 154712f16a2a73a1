// Every allocation through the C API fails in turn: a status, no leak, no crash.
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>

#include "lomix/lomix.h"

namespace {

// Of all threads: those of a context allocate nothing once they run.
std::atomic<long> liveBlocks = 0;
std::atomic<long> allocations = 0;
std::atomic<long> failAt = -1;

void* allocate(std::size_t size, std::size_t alignment) {
  if (allocations++ == failAt) throw std::bad_alloc();
  void* block = alignment > alignof(std::max_align_t)
                    ? std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment)
                    : std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  ++liveBlocks;
  return block;
}

void release(void* block) {
  if (block == nullptr) return;
  --liveBlocks;
  std::free(block);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size, 0); }
void* operator new[](std::size_t size) { return allocate(size, 0); }
void* operator new(std::size_t size, std::align_val_t a) {
  return allocate(size, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t size, std::align_val_t a) {
  return allocate(size, static_cast<std::size_t>(a));
}
void operator delete(void* block) noexcept { release(block); }
void operator delete[](void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::align_val_t) noexcept { release(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { release(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { release(block); }

namespace lomix::library_test {
namespace {

std::array<std::uint8_t, 64 * 48 * 4> source;
std::array<std::uint8_t, 64 * 48 * 4> output;
std::array<char, 1 << 16> json;

lomix_image imageOf(std::array<std::uint8_t, 64 * 48 * 4>& pixels) {
  lomix_image image = LOMIX_IMAGE_INIT;
  image.format = LOMIX_RGBA8;
  image.width = 64;
  image.height = 48;
  image.row_bytes = 64 * 4;
  image.data = pixels.data();
  return image;
}

/// One call and what undoes it. Returns the call's status.
struct Case {
  const char* name;
  std::function<lomix_status(lomix_error*)> call;
};

TEST(Memory, EveryAllocationMayFail) {
  lomix_look* look = nullptr;
  ASSERT_EQ(lomix_look_create_from_preset("passing-storm", &look, nullptr), LOMIX_OK);
  std::array<double, 13> values{};
  ASSERT_EQ(lomix_look_values(look, 1.0, values.data(), 13, nullptr), LOMIX_OK);
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  const lomix_image from = imageOf(source);
  const lomix_image to = imageOf(output);
  const lomix_key key{sizeof(lomix_key), 0, 5, 50};
  lomix_context* context = nullptr;
  ASSERT_EQ(lomix_context_create(2, &context, nullptr), LOMIX_OK);

  const auto withLook = [](lomix_status status, lomix_look* made) {
    lomix_look_destroy(made);
    return status;
  };
  const Case cases[] = {
      {"create a look",
       [&](lomix_error* e) {
         lomix_look* made = nullptr;
         const lomix_status status = lomix_look_create(&made, e);
         return withLook(status, made);
       }},
      {"read a preset",
       [&](lomix_error* e) {
         lomix_look* made = nullptr;
         const lomix_status status = lomix_look_create_from_preset("signal-drop", &made, e);
         return withLook(status, made);
       }},
      {"copy a look",
       [&](lomix_error* e) {
         lomix_look* made = nullptr;
         const lomix_status status = lomix_look_copy(look, &made, e);
         return withLook(status, made);
       }},
      {"add a key", [&](lomix_error* e) { return lomix_look_add_key(look, "noise", &key, e); }},
      {"set keys",
       [&](lomix_error* e) { return lomix_look_set_keys_text(look, "noise", "0:1,2:5@ease", e); }},
      {"write JSON",
       [&](lomix_error* e) {
         return lomix_look_write_json(look, nullptr, nullptr, json.data(), json.size(), nullptr, e);
       }},
      {"find a parameter",
       [](lomix_error* e) {
         std::int32_t index = 0;
         return lomix_parameter_find("scan_distortion", &index, e);
       }},
      {"prepare a frame",
       [&](lomix_error* e) {
         lomix_frame* frame = nullptr;
         const lomix_status status = lomix_frame_create(&settings, &from, &to, &frame, e);
         lomix_frame_destroy(frame);
         return status;
       }},
      {"render a frame",
       [&](lomix_error* e) {
         return lomix_context_render(context, &settings, &from, &to, nullptr, nullptr, e);
       }},
      {"draw converted rows",
       [&](lomix_error* e) {
         lomix_frame* frame = nullptr;
         const long given = failAt;
         failAt = -1;
         lomix_image premultiplied = from;
         premultiplied.alpha = LOMIX_PREMULTIPLIED;
         lomix_frame_create(&settings, &premultiplied, &to, &frame, nullptr);
         allocations = 0;
         failAt = given;
         const lomix_status status = lomix_frame_draw_rows(frame, 0, 48, e);
         lomix_frame_destroy(frame);
         return status;
       }},
      {"render converted rows",
       [&](lomix_error* e) {
         lomix_image premultiplied = to;
         premultiplied.alpha = LOMIX_PREMULTIPLIED;
         return lomix_context_render(context, &settings, &from, &premultiplied, nullptr, nullptr,
                                     e);
       }},
      {"create a context",
       [](lomix_error* e) {
         lomix_context* made = nullptr;
         const lomix_status status = lomix_context_create(3, &made, e);
         lomix_context_destroy(made);
         return status;
       }},
  };
  for (const Case& c : cases) {
    // What is made once and kept is made before anything is counted.
    ASSERT_EQ(c.call(nullptr), LOMIX_OK) << c.name;
    bool succeeded = false;
    long failed = 0;
    for (long n = 0; !succeeded; ++n) {
      ASSERT_LT(n, 100000) << c.name;
      lomix_error error = LOMIX_ERROR_INIT;
      const long before = liveBlocks;
      allocations = 0;
      failAt = n;
      const lomix_status status = c.call(&error);
      failAt = -1;
      succeeded = status == LOMIX_OK;
      if (succeeded) break;
      ++failed;
      ASSERT_EQ(status, LOMIX_OUT_OF_MEMORY)
          << c.name << ", allocation " << n << ": " << error.message;
      ASSERT_STRNE(error.message, "") << c.name;
      ASSERT_EQ(liveBlocks, before) << c.name << ", allocation " << n;
    }
    EXPECT_GT(failed, 0) << c.name << " allocates nothing, so nothing was tried";
  }
  lomix_look_destroy(look);
  lomix_context_destroy(context);
}

TEST(Memory, DrawingRowsAllocatesNothing) {
  std::array<double, 13> values{1, 0, 1, 20, 20, 10, 10, 30, 30, 30, 5, 2, 25};
  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = 13;
  const lomix_image from = imageOf(source);
  const lomix_image to = imageOf(output);
  lomix_frame* frame = nullptr;
  ASSERT_EQ(lomix_frame_create(&settings, &from, &to, &frame, nullptr), LOMIX_OK);
  lomix_error error = LOMIX_ERROR_INIT;
  const long before = allocations;
  ASSERT_EQ(lomix_frame_draw_rows(frame, 0, 48, &error), LOMIX_OK);
  EXPECT_EQ(allocations, before);
  lomix_frame_destroy(frame);
}

}  // namespace
}  // namespace lomix::library_test
