#include "platform/session/module_loader.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace codebook::session {

ProcedureModule::ProcedureModule(const std::string& path, const std::string& entry) : path_(path) {
  handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    const char* why = dlerror();
    throw ModuleError("cannot load the procedure module " + path + ": " + (why ? why : "unknown error"));
  }
  dlerror();
  void* symbol = dlsym(handle_, entry.c_str());
  if (symbol == nullptr) {
    dlclose(handle_);
    handle_ = nullptr;
    throw ModuleError("the procedure module " + path + " has no entry " + entry);
  }
  entry_ = reinterpret_cast<Entry>(symbol);
}

ProcedureModule::~ProcedureModule() {
  if (handle_ != nullptr) dlclose(handle_);
}

namespace {

std::filesystem::path ProgramDirectory() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path() : program.parent_path();
}

}  // namespace

std::vector<std::string> ModuleSearchPath(const std::string& fileName) {
  std::vector<std::string> places;
  if (const char* explicitPath = std::getenv("CODEBOOK_MODULE"); explicitPath && *explicitPath) {
    places.emplace_back(explicitPath);
  }
  const std::filesystem::path program = ProgramDirectory();
  if (!program.empty()) {
    places.push_back((program / fileName).string());
    places.push_back((program / ".." / "lib" / fileName).lexically_normal().string());
    places.push_back((program / ".." / "lib" / "codebook" / fileName).lexically_normal().string());
  }
#ifdef CODEBOOK_INSTALL_LIBDIR
  places.push_back((std::filesystem::path(CODEBOOK_INSTALL_LIBDIR) / fileName).string());
#endif
  return places;
}

std::string FindModule(const std::string& fileName) {
  const std::vector<std::string> places = ModuleSearchPath(fileName);
  std::string looked;
  for (const std::string& place : places) {
    std::error_code error;
    if (std::filesystem::is_regular_file(place, error)) return place;
    looked += (looked.empty() ? "" : ", ") + place;
  }
  throw ModuleError("the procedure module " + fileName + " was not found (looked in: " + looked + ")");
}

}  // namespace codebook::session
