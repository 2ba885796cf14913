#include "platform/session/progress_display.h"

#include <sys/ioctl.h>

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace codebook::session {

namespace {

// The display the case sources' reports go to, on this thread.
thread_local ProgressDisplay* active = nullptr;

void Report(std::int64_t casesRead) {
  if (active != nullptr) active->Update(casesRead);
}

// 1234567 -> "1,234,567".
std::string Grouped(std::int64_t number) {
  std::string digits = std::to_string(number < 0 ? 0 : number);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) digits.insert(static_cast<std::size_t>(at), ",");
  return digits;
}

// "45 s", "3 min 05 s", "2 h 05 min".
std::string Duration(double seconds) {
  const auto whole = static_cast<std::int64_t>(std::ceil(seconds));
  char text[48];
  if (whole < 60) {
    std::snprintf(text, sizeof text, "%lld s", static_cast<long long>(whole));
  } else if (whole < 3600) {
    std::snprintf(text, sizeof text, "%lld min %02lld s", static_cast<long long>(whole / 60),
                  static_cast<long long>(whole % 60));
  } else {
    std::snprintf(text, sizeof text, "%lld h %02lld min", static_cast<long long>(whole / 3600),
                  static_cast<long long>(whole / 60 % 60));
  }
  return text;
}

int TerminalWidth(std::FILE* stream) {
  winsize size{};
  if (::ioctl(fileno(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

}  // namespace

std::string ProgressText(std::int64_t read, std::int64_t total, double seconds, int width) {
  const bool known = total > 0 && read <= total;
  const double rate = seconds > 0 ? static_cast<double>(read) / seconds : 0;
  // From the fullest to the shortest; the first that fits is shown.
  std::vector<std::string> forms;
  const std::string count = known ? Grouped(read) + " of " + Grouped(total) + " cases" : Grouped(read) + " cases read";
  std::string share;
  if (known) share = " (" + std::to_string(static_cast<int>(100.0 * static_cast<double>(read) / static_cast<double>(total))) + "%)";
  std::string speed;
  if (rate >= 1) speed = ", " + Grouped(static_cast<std::int64_t>(std::llround(rate))) + " cases/s";
  std::string left;
  if (known && rate >= 1) left = ", " + Duration(static_cast<double>(total - read) / rate) + " left";
  forms.push_back("codebook: " + count + share + speed + left);
  forms.push_back(count + share + speed + left);
  forms.push_back(count + share + left);
  forms.push_back(count + share);
  forms.push_back(known ? share.substr(2, share.size() - 3) : Grouped(read));
  for (const std::string& form : forms) {
    if (width <= 0 || static_cast<int>(form.size()) <= width) return form;
  }
  return forms.back().substr(0, static_cast<std::size_t>(width));
}

std::chrono::milliseconds ProgressDelay() {
  if (const char* text = std::getenv("CODEBOOK_PROGRESS_DELAY"); text != nullptr && *text != '\0') {
    int milliseconds = 0;
    const char* end = text + std::strlen(text);
    const auto [stop, failure] = std::from_chars(text, end, milliseconds);
    if (failure == std::errc() && stop == end && milliseconds >= 0) return std::chrono::milliseconds(milliseconds);
  }
  return std::chrono::seconds(1);
}

ProgressDisplay::ProgressDisplay(std::FILE* stream, std::int64_t total, std::chrono::milliseconds delay)
    : stream_(stream), total_(total), start_(std::chrono::steady_clock::now()), delay_(delay) {
  if (stream_ == nullptr) return;
  previous_ = active;
  active = this;
}

ProgressDisplay::~ProgressDisplay() {
  if (stream_ == nullptr) return;
  active = previous_;
  Erase();
}

void ProgressDisplay::Erase() {
  if (!shown_) return;
  std::fputs("\r\033[K", stream_);
  std::fflush(stream_);
  shown_ = false;
}

void EraseProgress() {
  if (active != nullptr) active->Erase();
}

data::ProgressCallback ProgressDisplay::Callback() const { return stream_ != nullptr ? Report : nullptr; }

void ProgressDisplay::Update(std::int64_t casesRead) {
  const auto now = std::chrono::steady_clock::now();
  if (now - start_ < delay_) return;
  // Ten lines a second are as many as an eye can follow (also after a
  // message erased the line).
  if (now - lastDrawn_ < std::chrono::milliseconds(100)) return;
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  // One column short of the screen: a full line would wrap on some
  // terminals, and the next redraw would start on a line of its own.
  const std::string text = ProgressText(casesRead, total_, seconds, TerminalWidth(stream_) - 1);
  std::fprintf(stream_, "\r%s\033[K", text.c_str());
  std::fflush(stream_);
  shown_ = true;
}

}  // namespace codebook::session
