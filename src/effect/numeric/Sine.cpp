#include "effect/numeric/Sine.h"

#ifdef __MINGW32__

#include <windows.h>

#include <cstdlib>
#include <initializer_list>

namespace lomix {
namespace {

using Function = double (*)(double);

struct Runtime {
  Function sine = nullptr;
  Function cosine = nullptr;
};

// Never given back: the module calls them until it goes itself.
Runtime findRuntime() {
  for (const wchar_t* name : {L"ucrtbase.dll", L"msvcrt.dll"}) {
    const HMODULE library = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (library == nullptr) continue;
    const auto find = [library](const char* symbol) {
      return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, symbol)));
    };
    const Runtime runtime{find("sin"), find("cos")};
    if (runtime.sine != nullptr && runtime.cosine != nullptr) return runtime;
  }
  // Every Windows has the second one, and this module itself is linked to it.
  std::abort();
}

const Runtime& runtime() {
  static const Runtime kRuntime = findRuntime();
  return kRuntime;
}

}  // namespace

double sine(double angle) { return runtime().sine(angle); }
double cosine(double angle) { return runtime().cosine(angle); }

}  // namespace lomix

#endif
