#pragma once

#include <ostream>
#include <streambuf>

namespace lomix {

/// A stream to where standard error went when it was made. Readers of pictures and videos mute
/// standard error for a while, for all threads; this one still speaks.
class StandardErrorCopy : public std::ostream {
 public:
  StandardErrorCopy();
  ~StandardErrorCopy() override;

  bool isTerminal() const;

 private:
  class Buffer : public std::streambuf {
   public:
    explicit Buffer(int file) : file_(file) {}

   protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* text, std::streamsize length) override;

   private:
    int file_;
  };

  int file_;
  Buffer buffer_;
};

}  // namespace lomix
