// UTF-8 file names under Windows, for builds with MinGW. lomix.manifest makes Windows pass the
// command line in UTF-8, but MinGW's mbrtowc(), with which std::filesystem decodes names, converts
// byte by byte. The linker replaces it by the function below (--wrap=mbrtowc).
#include <windows.h>

#include <cerrno>
#include <cwchar>

extern "C" std::size_t __wrap_mbrtowc(wchar_t* target, const char* bytes, std::size_t size,
                                      std::mbstate_t* /*state*/) {
  constexpr auto kInvalid = static_cast<std::size_t>(-1);
  constexpr auto kIncomplete = static_cast<std::size_t>(-2);
  if (bytes == nullptr) return 0;
  if (size == 0) return kIncomplete;
  const auto first = static_cast<unsigned char>(*bytes);
  const std::size_t length = first < 0x80 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
  if (length > size) return kIncomplete;
  wchar_t units[2];
  const int count =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes, static_cast<int>(length), units, 2);
  // Characters that take two units have no place in this interface.
  if (count != 1) {
    errno = EILSEQ;
    return kInvalid;
  }
  if (target != nullptr) *target = units[0];
  return units[0] == L'\0' ? 0 : length;
}
