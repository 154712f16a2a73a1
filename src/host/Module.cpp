#include "host/Module.h"

#include "host/DynamicLibrary.h"
#include "host/HostError.h"
#include "host/ModuleFile.h"

namespace lomix::host {
namespace {

/// Returns the file to load. A macOS plug-in is a folder: "A.plugin/Contents/MacOS/A".
std::filesystem::path codeFile(const std::filesystem::path& file) {
  std::error_code ignored;
  if (!std::filesystem::exists(file, ignored)) {
    throw HostError("cannot load '" + file.string() +
                    "': no such file (give the path of a plug-in module)");
  }
  if (!std::filesystem::is_directory(file, ignored)) return file;
  const std::filesystem::path folder = file.has_filename() ? file : file.parent_path();
  const std::filesystem::path code = folder / "Contents" / "MacOS" / folder.stem();
  if (std::filesystem::is_regular_file(code, ignored)) return code;
  throw HostError("cannot load '" + file.string() +
                  "': a folder, but not a plug-in bundle (give the path of a plug-in module)");
}

/// Loads a module, after a check that its file is whole.
std::unique_ptr<DynamicLibrary> load(const std::filesystem::path& file) {
  const std::filesystem::path code = codeFile(file);
  requireWholeModule(code);
  return std::make_unique<DynamicLibrary>(code);
}

}  // namespace

Module::Module(const std::filesystem::path& file) : file_(file), library_(load(file)) {
  entryPoint_ = reinterpret_cast<EntryPoint>(library_->find("EntryPointFunc"));
  if (!entryPoint_) {
    throw HostError("cannot use '" + file.string() +
                    "': it exports no EntryPointFunc (give an effect plug-in)");
  }
}

Module::~Module() = default;
Module::Module(Module&&) noexcept = default;
Module& Module::operator=(Module&&) noexcept = default;

}  // namespace lomix::host
