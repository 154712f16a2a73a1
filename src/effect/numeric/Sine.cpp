#include "effect/numeric/Sine.h"

#ifdef __MINGW32__

#include <windows.h>

#include <initializer_list>

namespace lomix {
namespace {

using Function = double (*)(double);

struct Functions {
  Function sine;
  Function cosine;
};

// The library is never freed: its functions are called until the module is unloaded.
Functions findFunctions() {
  for (const wchar_t* name : {L"ucrtbase.dll", L"msvcrt.dll"}) {
    const HMODULE library = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) continue;
    const auto find = [library](const char* symbol) {
      return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, symbol)));
    };
    const Functions found{find("sin"), find("cos")};
    if (found.sine != nullptr && found.cosine != nullptr) return found;
  }
  // Less exact, but the absence of a library must not end the host.
  return {[](double angle) { return std::sin(angle); },
          [](double angle) { return std::cos(angle); }};
}

const Functions& functions() {
  static const Functions kFunctions = findFunctions();
  return kFunctions;
}

}  // namespace

double sine(double angle) { return functions().sine(angle); }
double cosine(double angle) { return functions().cosine(angle); }

}  // namespace lomix

#endif
