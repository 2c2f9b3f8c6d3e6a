#include "mime/input_window.h"

#include <algorithm>

namespace zevka {

InputWindow::InputWindow(OpenFile& input) : input_(input), whole_(FileWholeView(input.Handle())) {}

bool InputWindow::Start(std::int64_t at) {
  begin_ = std::min(static_cast<std::size_t>(at), whole_.size());
  end_ = begin_;
  buffer_.clear();
  return input_.Seek(at);
}

std::string_view InputWindow::Text() const {
  const std::string_view all = whole_.data() == nullptr ? std::string_view(buffer_) : whole_;
  return all.substr(begin_, end_ - begin_);
}

bool InputWindow::ReadMore(std::size_t bytes) {
  if (whole_.data() != nullptr) {
    const std::size_t count = std::min(bytes, whole_.size() - end_);
    end_ += count;
    ended_ = count < bytes;
    return true;
  }
  buffer_.erase(0, begin_);
  begin_ = 0;
  const std::size_t before = buffer_.size();
  buffer_.resize(before + bytes);
  const std::size_t count = input_.Read(buffer_.data() + before, bytes);
  buffer_.resize(before + count);
  end_ = buffer_.size();
  ended_ = count < bytes;
  return !(ended_ && input_.Failed());
}

void InputWindow::Drop(std::size_t bytes) {
  begin_ += std::min(bytes, end_ - begin_);
}

bool InputWindow::Flush(OpenFile& out, std::size_t bytes) {
  const std::string_view text = Text().substr(0, bytes);
  const bool written =
      whole_.data() == nullptr ? out.Write(text) : out.WriteFrom(input_, begin_, text);
  Drop(bytes);
  return written;
}

}  // namespace zevka
