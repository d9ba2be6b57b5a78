#include "core/progress.h"

namespace zkcli {

Progress::Progress(std::size_t total, std::FILE* out, bool terminal)
    : total_(total), out_(out), terminal_(terminal) {
  if (terminal_ && total_ > 0) draw("");
}

void Progress::finished(const std::string& name, bool ok, const std::string& detail) {
  ++done_;
  if (total_ == 0) {  // open-ended (the hot folder): a line each
    std::fprintf(out_, "%s: %s\n", name.c_str(),
                 ok ? detail.c_str() : ("failed: " + detail).c_str());
  } else if (terminal_) {
    std::fputs("\r\033[K", out_);
    if (!ok) std::fprintf(out_, "%s: %s\n", name.c_str(), detail.c_str());
    draw(name);
  } else {
    std::fprintf(out_, "[%zu/%zu] %s: %s\n", done_, total_, name.c_str(),
                 ok ? detail.c_str() : ("failed: " + detail).c_str());
  }
  std::fflush(out_);
}

void Progress::draw(const std::string& name) {
  constexpr std::size_t kWidth = 30;
  const std::size_t filled = total_ == 0 ? kWidth : done_ * kWidth / total_;
  std::string bar(filled, '#');
  bar.resize(kWidth, '.');
  std::fprintf(out_, "[%s] %zu/%zu %s", bar.c_str(), done_, total_, name.c_str());
  std::fflush(out_);
}

void Progress::close() {
  if (terminal_ && total_ > 0) std::fputs("\r\033[K", out_);
  std::fflush(out_);
}

}  // namespace zkcli
