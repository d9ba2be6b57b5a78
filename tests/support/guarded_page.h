// A page of memory the test may write, followed by one that may not be
// touched at all: for checking that the library reads and writes no byte
// past what it was given, and that pointers into unusable memory are refused.
#pragma once

#include <cstddef>

namespace zkimgset::testing {

class GuardedPage {
 public:
  GuardedPage();
  ~GuardedPage();
  GuardedPage(const GuardedPage&) = delete;
  GuardedPage& operator=(const GuardedPage&) = delete;

  char* begin() const { return base_; }          // the usable page
  char* guard() const { return base_ + size_; }  // the first byte past it
  std::size_t size() const { return size_; }
  // Makes the usable page read-only.
  void make_read_only();

 private:
  char* base_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace zkimgset::testing
