// Usage: golden_frames MODULE
//        golden_frames MODULE --write FILE
//        golden_frames MODULE --compare FILE
//        golden_frames MODULE --export FILE
// Prints the name, a tab and the hash of every golden frame as the module draws it; writes their
// pixels; counts in how many channels they differ from those that were written on another system;
// or writes what the frames of 8 bits are drawn from, and their pixels, as JSON for tests in other
// languages.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "golden/Frames.h"
#include "host/HostError.h"

namespace lomix::golden {
namespace {

/// Every row of every frame of that depth, without padding.
std::string pixelsOf(const host::Module& module, int depth) {
  std::string bytes;
  for (const Frame& frame : frames()) {
    if (frame.depth != depth) continue;
    const host::World world = render(frame, module);
    const auto rowBytes = static_cast<std::size_t>(world.width() * host::bytesPerPixel(depth));
    for (int y = 0; y < world.height(); ++y) {
      bytes.append(reinterpret_cast<const char*>(world.row(y)), rowBytes);
    }
  }
  return bytes;
}

void printHashes(const host::Module& module) {
  for (const Frame& frame : frames()) {
    const auto hash = hashOf(render(frame, module));
    std::printf("%s\t%016llx\n", frame.name, static_cast<unsigned long long>(hash));
  }
}

/// Whether bytes are the same and floats differ by their last bit at most.
bool compare(const host::Module& module, const std::string& others) {
  const std::string bytes = pixelsOf(module, 8);
  const std::string floats = pixelsOf(module, 32);
  if (others.size() != bytes.size() + floats.size()) throw host::HostError("other golden frames");
  long bytesOff = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) bytesOff += bytes[i] != others[i];

  long lastBitsOff = 0;
  long floatsOff = 0;
  for (std::size_t i = 0; i < floats.size(); i += sizeof(float)) {
    std::int32_t here = 0;
    std::int32_t there = 0;
    std::memcpy(&here, &floats[i], sizeof here);
    std::memcpy(&there, &others[bytes.size() + i], sizeof there);
    const long long steps = std::llabs(static_cast<long long>(here) - there);
    if (steps == 1) ++lastBitsOff;
    if (steps > 1) ++floatsOff;
  }
  std::printf(
      "%zu 8-bit channels, %ld differ; %zu float channels, %ld differ in the last bit, "
      "%ld by more\n",
      bytes.size(), bytesOff, floats.size() / sizeof(float), lastBitsOff, floatsOff);
  return bytesOff == 0 && floatsOff == 0;
}

/// Red, green, blue and alpha of every pixel, two hexadecimal digits each.
std::string hexOf(const host::World& world) {
  std::string text;
  for (int y = 0; y < world.height(); ++y) {
    for (int x = 0; x < world.width(); ++x) {
      const PF_Pixel& p = world.row8(y)[x];
      char pixel[9];
      std::snprintf(pixel, sizeof pixel, "%02x%02x%02x%02x", p.red, p.green, p.blue, p.alpha);
      text += pixel;
    }
  }
  return text;
}

/// A list of the frames of 8 bits: name, width, height, values, time, scale, input and output.
std::string exported(const host::Module& module) {
  std::ostringstream json;
  json.precision(17);
  for (const Frame& frame : frames()) {
    if (frame.depth != 8) continue;
    const host::FrameSettings& settings = frame.settings;
    json << (json.tellp() == 0 ? "[" : ",\n") << "{\"name\":\"" << frame.name
         << "\",\"width\":" << frame.output.width << ",\"height\":" << frame.output.height
         << ",\"values\":[";
    for (std::size_t i = 0; i < frame.values.size(); ++i) {
      json << (i == 0 ? "" : ",") << frame.values[i];
    }
    json << "],\"time\":[" << settings.currentTime << "," << settings.timeScale << "],\"scale\":["
         << quotientOf(settings.downsampleX) << "," << quotientOf(settings.downsampleY)
         << "],\"input\":\"" << hexOf(inputOf(frame)) << "\",\"output\":\""
         << hexOf(render(frame, module)) << "\"}";
  }
  return json.str() + "]\n";
}

std::string read(const char* name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) throw host::HostError(std::string("cannot read '") + name + "'");
  return {std::istreambuf_iterator<char>(file), {}};
}

void write(const char* name, const std::string& bytes) {
  std::ofstream file(name, std::ios::binary);
  file << bytes;
  if (file.close(); !file) throw host::HostError(std::string("cannot write '") + name + "'");
}

}  // namespace
}  // namespace lomix::golden

int main(int argc, char** argv) {
  using namespace lomix::golden;
  const std::string_view task = argc == 4 ? argv[2] : "";
  if (argc != 2 && task != "--write" && task != "--compare" && task != "--export") {
    std::fputs(
        "error: golden_frames: expected a module file (golden_frames MODULE [--write FILE | "
        "--compare FILE | --export FILE])\n",
        stderr);
    return 2;
  }
  try {
    const lomix::host::Module module(argv[1]);
    if (task == "--compare") return compare(module, read(argv[3])) ? 0 : 1;
    if (task == "--write") {
      write(argv[3], pixelsOf(module, 8) + pixelsOf(module, 32));
    } else if (task == "--export") {
      write(argv[3], exported(module));
    } else {
      printHashes(module);
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "error: %s\n", error.what());
    return 1;
  }
}
