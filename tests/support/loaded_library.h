// Loading library files at run time in the tests, the way hosts do.
#pragma once

#include <string>

namespace zkimgset::testing {

// Whether a library file is loaded in this process, asked without loading it.
bool library_loaded(const char* path);

// A library file loaded by path for the lifetime of the object.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const std::string& path);
  ~LoadedLibrary();
  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  bool loaded() const { return handle_ != nullptr; }
  // An exported function by its exported name, or nullptr.
  template <class Function>
  Function* find(const char* name) const {
    return reinterpret_cast<Function*>(symbol(name));
  }

 private:
  void* symbol(const char* name) const;
  void* handle_ = nullptr;
};

}  // namespace zkimgset::testing
