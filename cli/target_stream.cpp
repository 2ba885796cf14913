#include "cli/target_stream.h"

#include <cstring>

namespace codebook::cli {

TargetStreamBuffer::TargetStreamBuffer(OutputTarget& target) : target_(target) {
  setp(buffer_.data(), buffer_.data() + buffer_.size());
}

bool TargetStreamBuffer::Drain() {
  const auto held = static_cast<std::size_t>(pptr() - pbase());
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  if (held == 0 || failed_) return !failed_;
  if (!wroteAny_) {
    wroteAny_ = true;
    if (!prefix_.empty() && !target_.Write(prefix_, error_)) {
      failed_ = true;
      return false;
    }
  }
  if (!target_.Write(std::string_view(buffer_.data(), held), error_)) failed_ = true;
  return !failed_;
}

TargetStreamBuffer::int_type TargetStreamBuffer::overflow(int_type c) {
  if (!Drain()) return traits_type::eof();
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  *pptr() = traits_type::to_char_type(c);
  pbump(1);
  return c;
}

std::streamsize TargetStreamBuffer::xsputn(const char* data, std::streamsize count) {
  std::streamsize done = 0;
  while (done < count) {
    const std::streamsize room = epptr() - pptr();
    if (room == 0) {
      if (!Drain()) return done;
      continue;
    }
    const std::streamsize take = count - done < room ? count - done : room;
    std::memcpy(pptr(), data + done, static_cast<std::size_t>(take));
    pbump(static_cast<int>(take));
    done += take;
  }
  return done;
}

int TargetStreamBuffer::sync() { return Drain() ? 0 : -1; }

bool TargetStreamBuffer::Finish(std::string& error) {
  Drain();
  if (failed_) error = error_;
  return !failed_;
}

}  // namespace codebook::cli
