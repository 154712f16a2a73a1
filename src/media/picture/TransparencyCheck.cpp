#include "media/picture/TransparencyCheck.h"

#include <utility>

namespace lomix::media {

TransparencyCheck::TransparencyCheck(bool storesAlpha, const std::string& output,
                                     const std::string& hint, Warn warn)
    : text_("'" + output + "': transparency is left out, colours are written as they are (" + hint +
            ")"),
      warn_(std::move(warn)),
      needed_(!storesAlpha) {}

void TransparencyCheck::check(const Picture& picture) {
  if (!needed_ || !picture.info.hasAlpha || !isTranslucent(picture)) return;
  if (needed_.exchange(false)) warn_(text_);
}

}  // namespace lomix::media
