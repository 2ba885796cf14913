// Loads a procedure module (a shared library) and finds its entry.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace codebook::session {

// A module that cannot be found or loaded, or lacks its entry.
class ModuleError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class ProcedureModule {
 public:
  using Entry = void (*)(std::int64_t);

  // Loads the library at `path` and looks up `entry`. Throws ModuleError.
  ProcedureModule(const std::string& path, const std::string& entry);
  ~ProcedureModule();
  ProcedureModule(const ProcedureModule&) = delete;
  ProcedureModule& operator=(const ProcedureModule&) = delete;

  void Run() const { entry_(0); }
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
  void* handle_ = nullptr;
  Entry entry_ = nullptr;
};

// Where the codebook module is looked for, in order: $CODEBOOK_MODULE, then
// beside the program, then ../lib and ../lib/codebook from the program, then
// the installed library folder.
std::vector<std::string> ModuleSearchPath(const std::string& fileName);
// The first existing file of the search path. Throws ModuleError naming the
// places looked at.
std::string FindModule(const std::string& fileName);

}  // namespace codebook::session
