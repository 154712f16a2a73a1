// Custom actions of the Windows installer: what its tables cannot express. The installer reports an
// error as a message of its own and undoes what was done.
// The first header declares the types of the others.
// clang-format off
#include <windows.h>
#include <msi.h>
#include <msiquery.h>
// clang-format on

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr wchar_t kFolderProperty[] = L"PLUGINFOLDER";

/// Calls read(buffer, length) until the buffer is large enough. Returns an empty text on failure.
template <typename Read>
std::wstring text(Read read) {
  std::wstring value(MAX_PATH, L'\0');
  for (;;) {
    auto length = static_cast<DWORD>(value.size() + 1);
    const UINT status = read(value.data(), &length);
    if (status == ERROR_SUCCESS) {
      value.resize(length);
      return value;
    }
    if (status != ERROR_MORE_DATA || length <= value.size()) return {};
    value.resize(length);
  }
}

std::wstring property(MSIHANDLE install, const wchar_t* name) {
  return text([&](wchar_t* buffer, DWORD* length) {
    return MsiGetPropertyW(install, name, buffer, length);
  });
}

/// A text of the registry's 64-bit part, with its environment variables expanded; empty without
/// one.
std::wstring registryText(const std::wstring& key, const wchar_t* name) {
  std::wstring value(32767, L'\0');
  auto bytes = static_cast<DWORD>(value.size() * sizeof(wchar_t));
  constexpr DWORD kFlags = RRF_RT_REG_SZ | RRF_SUBKEY_WOW6464KEY;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, kFlags, nullptr, value.data(), &bytes) !=
      ERROR_SUCCESS) {
    return {};
  }
  value.resize(bytes / sizeof(wchar_t));
  value.resize(value.find_last_not_of(L'\0') + 1);
  return value;
}

/// The numbers of "23.0" or "9.1.2"; nothing where it is no version.
std::optional<std::vector<unsigned>> versionNumbers(std::wstring_view name) {
  std::vector<unsigned> numbers;
  std::string part;
  for (const wchar_t character : std::wstring(name) + L'.') {
    if (character >= L'0' && character <= L'9') {
      part += static_cast<char>(character);
      continue;
    }
    unsigned number = 0;
    const auto parsed = std::from_chars(part.data(), part.data() + part.size(), number);
    if (character != L'.' || part.empty() || parsed.ec != std::errc()) return std::nullopt;
    numbers.push_back(number);
    part.clear();
  }
  return numbers;
}

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// The folder of plug-ins that the newest After Effects names in the registry and that exists, or
/// an empty text.
std::wstring folderOfAfterEffects() {
  const std::wstring root = L"SOFTWARE\\Adobe\\After Effects";
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, root.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &key) !=
      ERROR_SUCCESS) {
    return {};
  }
  struct Version {
    std::vector<unsigned> numbers;
    std::wstring name;
  };
  std::vector<Version> versions;
  wchar_t name[256];
  for (DWORD i = 0;; ++i) {
    DWORD length = 256;
    const LSTATUS status = RegEnumKeyExW(key, i, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status != ERROR_SUCCESS) break;
    if (auto numbers = versionNumbers({name, length})) {
      versions.push_back({*std::move(numbers), {name, length}});
    }
  }
  RegCloseKey(key);
  std::ranges::sort(versions, std::ranges::greater{}, &Version::numbers);
  for (const Version& version : versions) {
    const std::wstring folder =
        registryText(root + L"\\" + version.name, L"CommonPluginInstallPath");
    if (!folder.empty() && isFolder(folder)) return folder;
  }
  return {};
}

UINT fail(MSIHANDLE install, const std::wstring& message) {
  const MSIHANDLE record = MsiCreateRecord(1);
  MsiRecordSetStringW(record, 0, L"Lomix: [1]");
  MsiRecordSetStringW(record, 1, message.c_str());
  MsiProcessMessage(install, INSTALLMESSAGE_ERROR, record);
  MsiCloseHandle(record);
  return ERROR_INSTALL_FAILURE;
}

bool willBeInstalled(MSIHANDLE install, const wchar_t* feature) {
  INSTALLSTATE now = INSTALLSTATE_UNKNOWN;
  INSTALLSTATE wanted = INSTALLSTATE_UNKNOWN;
  if (MsiGetFeatureStateW(install, feature, &now, &wanted) != ERROR_SUCCESS) return false;
  if (wanted == INSTALLSTATE_UNKNOWN) wanted = now;
  return wanted == INSTALLSTATE_LOCAL;
}

/// Whether the command line chooses features.
bool choosesFeatures(MSIHANDLE install) {
  constexpr const wchar_t* kChoices[] = {L"ADDLOCAL", L"ADDDEFAULT", L"ADDSOURCE",  L"ADVERTISE",
                                         L"REMOVE",   L"REINSTALL",  L"Preselected"};
  return std::ranges::any_of(kChoices,
                             [&](const wchar_t* name) { return !property(install, name).empty(); });
}

/// Returns whether a feature is installed with one of several products: INSTALLSTATE_LOCAL or
/// INSTALLSTATE_ABSENT, and INSTALLSTATE_UNKNOWN where none of them has such a feature. products:
/// their codes, separated by ';'.
INSTALLSTATE stateIn(std::wstring_view products, const wchar_t* feature) {
  constexpr std::size_t kCode = 38;
  INSTALLSTATE found = INSTALLSTATE_UNKNOWN;
  for (; products.size() >= kCode; products.remove_prefix(std::min(kCode + 1, products.size()))) {
    const std::wstring code(products.substr(0, kCode));
    const INSTALLSTATE state = MsiQueryFeatureStateW(code.c_str(), feature);
    if (state == INSTALLSTATE_UNKNOWN || state == INSTALLSTATE_INVALIDARG) continue;
    // What was chosen may be broken or incomplete.
    if (state != INSTALLSTATE_ABSENT) return INSTALLSTATE_LOCAL;
    found = state;
  }
  return found;
}

/// Whether a program has loaded the file or opened it without sharing it.
bool isInUse(const std::wstring& file) {
  const HANDLE handle =
      CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    return error == ERROR_SHARING_VIOLATION || error == ERROR_USER_MAPPED_FILE;
  }
  CloseHandle(handle);
  return false;
}

}  // namespace

extern "C" {

/// Sets PLUGINFOLDER: what the user gave, the folder of an installed Lomix, or that of After
/// Effects. Leaves it unset where there is none of them.
__declspec(dllexport) UINT __stdcall FindPluginFolder(MSIHANDLE install) {
  if (!property(install, kFolderProperty).empty()) return ERROR_SUCCESS;
  std::wstring folder = registryText(L"SOFTWARE\\Lomix", L"PluginFolder");
  if (folder.empty()) folder = folderOfAfterEffects();
  if (folder.empty()) return ERROR_SUCCESS;
  return MsiSetPropertyW(install, kFolderProperty, folder.c_str());
}

/// Chooses the features that the version has which is replaced, unless the command line chooses.
/// The property OLDERVERSION names the products.
__declspec(dllexport) UINT __stdcall KeepFeatures(MSIHANDLE install) {
  if (choosesFeatures(install)) return ERROR_SUCCESS;
  const std::wstring products = property(install, L"OLDERVERSION");
  for (const wchar_t* feature : {L"Rows", L"Reference", L"OpenFX", L"Command"}) {
    const INSTALLSTATE state = stateIn(products, feature);
    if (state == INSTALLSTATE_UNKNOWN) continue;
    const UINT status = MsiSetFeatureStateW(install, feature, state);
    if (status != ERROR_SUCCESS) return status;
  }
  return ERROR_SUCCESS;
}

/// Refuses two renderers, which would be one file.
__declspec(dllexport) UINT __stdcall CheckFeatures(MSIHANDLE install) {
  if (willBeInstalled(install, L"Rows") && willBeInstalled(install, L"Reference")) {
    return fail(
        install,
        L"the features Rows and Reference are the same file (choose one of them, and remove the "
        L"other with REMOVE=)");
  }
  return ERROR_SUCCESS;
}

/// Refuses to go on while a program uses a file. The property CheckFilesAreFree names the files,
/// separated by
/// '|'. Runs twice: at once, before anything is changed, as far as the user may open the files; and
/// with the rights of the system, which gets the property as CustomActionData.
__declspec(dllexport) UINT __stdcall CheckFilesAreFree(MSIHANDLE install) {
  const bool asSystem = MsiGetMode(install, MSIRUNMODE_SCHEDULED) != FALSE;
  std::wstring files =
      property(install, asSystem ? L"CustomActionData" : L"CheckFilesAreFree") + L'|';
  for (std::size_t end = 0; (end = files.find(L'|')) != std::wstring::npos;
       files.erase(0, end + 1)) {
    const std::wstring file = files.substr(0, end);
    if (!file.empty() && isInUse(file)) {
      return fail(install, L"'" + file +
                               L"' is in use (close After Effects, Premiere Pro and all other "
                               L"programs that draw with Lomix, then start again)");
    }
  }
  return ERROR_SUCCESS;
}

}  // extern "C"
