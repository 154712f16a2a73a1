#include "media/picture/Encoding.h"

namespace lomix::media {

const char* nameOf(Encoding encoding) {
  switch (encoding) {
    case Encoding::Display:
      return "values for a display";
    case Encoding::Linear:
      return "values of linear light";
    case Encoding::Logarithmic:
      return "logarithmic values";
    case Encoding::Pq:
      return "HDR values (PQ)";
    case Encoding::Hlg:
      return "HDR values (HLG)";
  }
  return "values";
}

std::string encodingNote(Encoding from, Encoding to, const std::string& display) {
  if (from == to) return {};
  const bool toLinear = to == Encoding::Linear;
  std::string own = display;
  std::string wanted = toLinear ? "linear" : display;
  std::string way = "convert them with --colour";
  if (from == Encoding::Display || from == Encoding::Linear) {
    if (from == Encoding::Linear) own = "linear";
    way += " " + own + ":" + wanted + ", or accept it with --colour " + own + ":" + own;
  } else {
    way += " and an OpenColorIO configuration";
  }
  return std::string("the input's ") + nameOf(from) +
         " are kept as they are, but programs expect " + nameOf(to) + " here (" + way + ")";
}

}  // namespace lomix::media
