// Standard error for the command, which still works while libraries are silenced.
#pragma once

#include <ostream>
#include <streambuf>

namespace lomix {

/// An output stream to the file or terminal that was standard error when the object was made. It is
/// not affected by QuietStandardError.
class StandardErrorCopy : public std::ostream {
 public:
  StandardErrorCopy();
  ~StandardErrorCopy() override;

  /// Returns whether the stream writes to a terminal.
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
