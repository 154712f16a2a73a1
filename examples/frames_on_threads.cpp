// Usage: frames_on_threads INPUT.ppm OUTPUT PRESET FRAMES FPS THREADS
// Draws frames 0 to FRAMES - 1 of a film from one picture and writes them to OUTPUT.0000.ppm and so
// on. The program's own threads share the rows of each frame; Lomix starts no thread here.

#include <lomix/lomix.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

struct Picture {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> rgba;
};

/// Throws the message of a call that failed.
void check(lomix_status status, const lomix_error& error) {
  if (status != LOMIX_OK) throw std::runtime_error(error.message);
}

struct Destroy {
  void operator()(lomix_look* look) const { lomix_look_destroy(look); }
  void operator()(lomix_frame* frame) const { lomix_frame_destroy(frame); }
};
using Look = std::unique_ptr<lomix_look, Destroy>;
using Frame = std::unique_ptr<lomix_frame, Destroy>;

Look makeLook(const std::string& preset) {
  lomix_error error = LOMIX_ERROR_INIT;
  lomix_look* look = nullptr;
  check(lomix_look_create_from_preset(preset.c_str(), &look, &error), error);
  return Look(look);
}

lomix_image describe(Picture& picture) {
  lomix_image image = LOMIX_IMAGE_INIT;
  image.format = LOMIX_RGBA8;
  image.width = picture.width;
  image.height = picture.height;
  image.row_bytes = std::int64_t{picture.width} * 4;
  image.data = picture.rgba.data();
  return image;
}

/// Prepares frame `number` of a film with `fps` frames a second.
Frame makeFrame(const lomix_look* look, int number, int fps, Picture& source, Picture& output) {
  lomix_error error = LOMIX_ERROR_INIT;
  std::vector<double> values(static_cast<std::size_t>(lomix_parameter_count()));
  const auto count = static_cast<std::int32_t>(values.size());
  check(lomix_look_values(look, double(number) / fps, values.data(), count, &error), error);

  lomix_frame_settings settings = LOMIX_FRAME_SETTINGS_INIT;
  settings.values = values.data();
  settings.value_count = count;
  settings.time_numerator = number;
  settings.time_denominator = fps;
  const lomix_image from = describe(source);
  const lomix_image to = describe(output);
  lomix_frame* frame = nullptr;
  check(lomix_frame_create(&settings, &from, &to, &frame, &error), error);
  return Frame(frame);
}

/// Draws all rows. Every thread takes the next rows that nobody has taken yet.
void drawFrame(const lomix_frame* frame, int height, int threadCount) {
  constexpr int kRows = 16;
  std::atomic<int> next{0};
  std::atomic<lomix_status> result{LOMIX_OK};
  const auto work = [&] {
    for (int first; (first = next.fetch_add(kRows)) < height;) {
      const int last = std::min(first + kRows, height);
      const lomix_status status = lomix_frame_draw_rows(frame, first, last, nullptr);
      if (status != LOMIX_OK) result = status;
    }
  };
  {
    std::vector<std::jthread> threads;
    for (int i = 1; i < threadCount; ++i) threads.emplace_back(work);
    work();
  }  // Ends when all threads have.
  if (result != LOMIX_OK) throw std::runtime_error(lomix_status_text(result));
}

Picture readPpm(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  std::string kind;
  int depth = 0;
  Picture picture;
  file >> kind >> picture.width >> picture.height >> depth;
  file.get();
  if (!file || kind != "P6" || depth != 255 || picture.width < 1 || picture.height < 1) {
    throw std::runtime_error("cannot read '" + name + "' (use a binary PPM of 8 bits)");
  }
  picture.rgba.assign(std::size_t(picture.width) * std::size_t(picture.height) * 4, 255);
  for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
    file.read(reinterpret_cast<char*>(&picture.rgba[i]), 3);
  }
  if (!file) throw std::runtime_error("cannot read '" + name + "': it is cut off (copy it again)");
  return picture;
}

void writePpm(const Picture& picture, const std::string& name) {
  std::ofstream file(name, std::ios::binary);
  file << "P6\n" << picture.width << ' ' << picture.height << "\n255\n";
  for (std::size_t i = 0; i < picture.rgba.size(); i += 4) {
    file.write(reinterpret_cast<const char*>(&picture.rgba[i]), 3);
  }
  if (!file.flush()) throw std::runtime_error("cannot write '" + name + "' (check the folder)");
}

void run(char** arguments) {
  Picture source = readPpm(arguments[1]);
  Picture output = source;
  const Look look = makeLook(arguments[3]);
  const int frameCount = std::stoi(arguments[4]);
  const int fps = std::stoi(arguments[5]);
  const int threadCount = std::stoi(arguments[6]);
  for (int number = 0; number < frameCount; ++number) {
    const Frame frame = makeFrame(look.get(), number, fps, source, output);
    drawFrame(frame.get(), output.height, threadCount);
    char ending[32];
    std::snprintf(ending, sizeof ending, ".%04d.ppm", number);
    writePpm(output, arguments[2] + std::string(ending));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 7) {
    std::fprintf(stderr, "usage: frames_on_threads INPUT.ppm OUTPUT PRESET FRAMES FPS THREADS\n");
    return 2;
  }
  try {
    run(argv);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
