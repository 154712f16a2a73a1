#include "packaging/PropertyReader.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace lomix::packaging {
namespace {

constexpr std::uint32_t kResourceId = 16000;

void require(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error("broken resource: " + what);
}

struct Bytes {
  std::string all;
  bool bigEndian;

  std::uint32_t number(std::size_t at, std::size_t size) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t place = bigEndian ? at + i : at + size - 1 - i;
      value = value << 8U | static_cast<unsigned char>(text(place, 1)[0]);
    }
    return value;
  }
  std::uint32_t word(std::size_t at) const { return number(at, 4); }
  std::string text(std::size_t at, std::size_t size) const {
    require(at + size <= all.size() && at + size >= at, "ends at byte " + std::to_string(at));
    return all.substr(at, size);
  }
  std::string code(std::size_t at) const {
    std::string characters = text(at, 4);
    if (!bigEndian) std::ranges::reverse(characters);
    return characters;
  }
};

Bytes load(const std::filesystem::path& file, bool bigEndian) {
  std::ifstream stream(file, std::ios::binary);
  require(stream.good(), "cannot read " + file.string());
  return {{std::istreambuf_iterator<char>(stream), {}}, bigEndian};
}

/// The list from its version to the end of its bytes.
Properties readList(const Bytes& bytes) {
  require(bytes.word(0) == 0, "version of the list");
  Properties properties{bytes.bigEndian, {}};
  std::size_t at = 8;
  for (std::uint32_t left = bytes.word(4); left > 0; --left) {
    require(bytes.code(at) == "8BIM" && bytes.word(at + 8) == 0, "head of a property");
    const std::uint32_t length = bytes.word(at + 12);
    require(bytes.bigEndian || length % 4 == 0, "length without its padding");
    const std::size_t end = at + 16 + length;
    const std::size_t next = (end + 3) / 4 * 4;
    require(bytes.text(end, next - end) == std::string(next - end, '\0'), "padding");
    const bool isNew =
        properties.data.emplace(bytes.code(at + 4), bytes.text(at + 16, length)).second;
    require(isNew, "a property is there twice");
    at = next;
  }
  require(at == bytes.all.size(), "bytes behind the last property");
  return properties;
}

Properties readWindowsList(std::string all) {
  require(all.starts_with(std::string("\1\0", 2)), "mark of the Windows form");
  return readList({all.substr(2), false});
}

}  // namespace

std::uint32_t Properties::number(const std::string& key) const {
  const std::string& bytes = data.at(key);
  require(bytes.size() == 2 || bytes.size() == 4, key + " is no number");
  return Bytes{bytes, bigEndian}.number(0, bytes.size());
}

std::string Properties::pascalText(const std::string& key) const {
  const std::string& bytes = data.at(key);
  const auto length = static_cast<std::size_t>(static_cast<unsigned char>(bytes.at(0)));
  require(length < bytes.size() && (bigEndian ? length + 1 == bytes.size() : true) &&
              bytes.find_first_not_of('\0', 1 + length) == std::string::npos,
          key + " is no Pascal string");
  return bytes.substr(1, length);
}

std::string Properties::cText(const std::string& key) const {
  const std::string& bytes = data.at(key);
  const std::size_t end = bytes.find('\0');
  require(end != std::string::npos && bytes.find_first_not_of('\0', end) == std::string::npos,
          key + " is no C string");
  return bytes.substr(0, end);
}

Properties readWindowsModule(const std::filesystem::path& file) {
  const Bytes image = load(file, false);
  const std::size_t header = image.word(0x3C);
  require(image.text(header, 4) == std::string("PE\0\0", 4), "no Windows module");
  const std::size_t optional = header + 24;
  require(image.number(optional, 2) == 0x20B, "no 64-bit module");
  const std::uint32_t treeAddress = image.word(optional + 112 + 2 * 8);
  const std::size_t sections = optional + image.number(header + 20, 2);
  const auto toOffset = [&](std::uint32_t address) {
    for (std::size_t i = 0; i < image.number(header + 6, 2); ++i) {
      const std::size_t section = sections + 40 * i;
      const std::uint32_t start = image.word(section + 12);
      if (address >= start && address - start < image.word(section + 16)) {
        return std::size_t{image.word(section + 20)} + (address - start);
      }
    }
    throw std::runtime_error("broken resource: an address outside of every section");
  };
  const std::size_t tree = toOffset(treeAddress);

  // Three levels: type, number, language. A name is an offset to a length and 16-bit characters.
  constexpr std::uint32_t kElsewhere = 0x80000000U;
  const auto nameAt = [&](std::uint32_t field) {
    const std::size_t at = tree + (field & ~kElsewhere);
    std::string name;
    for (std::uint32_t i = 0; i < image.number(at, 2); ++i) {
      name += static_cast<char>(image.number(at + 2 + 2 * i, 2));
    }
    return name;
  };
  const auto entry = [&](std::size_t folder, const auto& matches) -> std::uint32_t {
    const std::uint32_t count = image.number(folder + 12, 2) + image.number(folder + 14, 2);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::size_t at = folder + 16 + 8 * i;
      if (matches(image.word(at))) return image.word(at + 4);
    }
    throw std::runtime_error("broken resource: no PIPL 16000 in it");
  };
  const std::uint32_t type = entry(tree, [&](std::uint32_t field) {
    return (field & kElsewhere) != 0 && nameAt(field) == "PIPL";
  });
  const std::uint32_t resource =
      entry(tree + (type & ~kElsewhere), [](std::uint32_t field) { return field == kResourceId; });
  const std::size_t leaf =
      tree + entry(tree + (resource & ~kElsewhere), [](std::uint32_t) { return true; });
  return readWindowsList(image.text(toOffset(image.word(leaf)), image.word(leaf + 4)));
}

Properties readMacResourceFile(const std::filesystem::path& file) {
  const Bytes fork = load(file, true);
  const std::size_t data = fork.word(0);
  const std::size_t map = fork.word(4);
  require(data == 256 && map == data + fork.word(8) && map + fork.word(12) == fork.all.size(),
          "places of data and map");
  require(fork.text(map, 16) == fork.text(0, 16), "the header's copy in the map");
  const std::size_t types = map + fork.number(map + 24, 2);
  require(fork.number(types, 2) == 0 && fork.text(types + 2, 4) == "PiPL", "the type PiPL alone");
  require(fork.number(types + 6, 2) == 0, "one resource");
  const std::size_t reference = types + fork.number(types + 8, 2);
  require(fork.number(reference, 2) == kResourceId, "number of the resource");
  require(fork.number(reference + 2, 2) == 0xFFFF, "no name");
  require(map + fork.number(map + 26, 2) == fork.all.size(), "an empty list of names");
  const std::size_t at = data + (fork.word(reference + 4) & 0xFFFFFFU);
  require(at + 4 + fork.word(at) == map, "length of the resource");
  return readList({fork.text(at + 4, fork.word(at)), true});
}

Properties readResourceScript(const std::filesystem::path& file) {
  const std::string script = load(file, false).all;
  const std::string start = "16000 PIPL\nBEGIN\n";
  require(script.starts_with(start), "no PIPL 16000 at the start");
  const std::string block = script.substr(start.size(), script.find("END") - start.size());
  std::string bytes;
  for (std::size_t at = 0; (at = block.find("0x", at)) != std::string::npos; ++at) {
    const auto word = static_cast<std::uint32_t>(std::stoul(block.substr(at, 6), nullptr, 16));
    bytes += {static_cast<char>(word & 0xFFU), static_cast<char>(word >> 8U)};
  }
  return readWindowsList(bytes);
}

}  // namespace lomix::packaging
