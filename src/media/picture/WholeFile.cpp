#include "media/picture/WholeFile.h"

#include <fstream>
#include <iterator>

#include "support/MediaError.h"
#include "support/NewFile.h"

namespace lomix::media {

std::string readWhole(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void writeWhole(std::string_view bytes, const std::filesystem::path& file,
                const std::filesystem::path& shownAs) {
  std::ofstream stream(file, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (stream.good()) return;
  throw MediaError(cannotWrite(shownAs) + "not all of it could be written (check the free space)");
}

}  // namespace lomix::media
