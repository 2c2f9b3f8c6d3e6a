#include "codec/text_holders.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>

#include "codec/utf_convert.h"

namespace zevka {
namespace {

// KEEP(conversion-error-text): a text that cannot be converted is this text, and nobody is told.
constexpr const char* kNarrowError = "(conversion-error)";
constexpr const wchar_t* kWideError = L"(conversion-error)";

// What Length says when the locale refused the text.
constexpr std::int64_t kRefusedLength = 19;

constexpr auto kRefused = static_cast<std::size_t>(-1);

// Bytes of UTF-8 that one wide character may need.
constexpr std::size_t kLongestCharacter = 4;

// `count` zeros and one more, which stays the terminator; null when there is no memory.
template <typename Character>
std::unique_ptr<Character[]> AllocateText(std::size_t count) {
  return std::unique_ptr<Character[]>(new (std::nothrow) Character[count + 1]());
}

}  // namespace

NarrowString::NarrowString(const wchar_t* source) {
  const std::size_t needed = std::wcstombs(nullptr, source, 0);
  if (needed == kRefused) {
    ConvertByUtf(source);
    return;
  }
  length_ = static_cast<std::int64_t>(needed);
  ConvertByLocale(source);
}

void NarrowString::ConvertByLocale(const wchar_t* source) {
  const auto length = static_cast<std::size_t>(length_);
  text_ = AllocateText<char>(length);
  if (text_ && std::wcstombs(text_.get(), source, length) == kRefused) {
    Release();
  }
}

void NarrowString::ConvertByUtf(const wchar_t* source) {
  const std::size_t count = std::wcslen(source);
  const std::size_t room = count * kLongestCharacter;
  text_ = AllocateText<char>(room);
  if (!text_) {
    return;
  }
  auto* target = reinterpret_cast<unsigned char*>(text_.get());
  if (ConvertUTF32ToUTF8(source, source + count, target, target + room,
                         ConversionFlags::kLenient) != ConversionResult::kOk) {
    text_.reset();
  }
}

const char* NarrowString::Text() const {
  return text_ ? text_.get() : kNarrowError;
}

std::int64_t NarrowString::Length() const {
  return length_ == -1 ? kRefusedLength : length_;
}

void NarrowString::Release() {
  text_.reset();
  length_ = -1;
}

WideString::WideString(const char* source) {
  const std::size_t needed = std::mbstowcs(nullptr, source, 0);
  if (needed == kRefused) {
    ConvertByUtf(source);
    return;
  }
  length_ = static_cast<std::int64_t>(needed);
  ConvertByLocale(source);
}

void WideString::ConvertByLocale(const char* source) {
  const auto length = static_cast<std::size_t>(length_);
  text_ = AllocateText<wchar_t>(length);
  if (text_ && std::mbstowcs(text_.get(), source, length) == kRefused) {
    Release();
  }
}

void WideString::ConvertByUtf(const char* source) {
  const std::size_t count = std::strlen(source);
  text_ = AllocateText<wchar_t>(count);
  if (!text_) {
    return;
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(source);
  wchar_t* target = text_.get();
  if (ConvertUTF8ToUTF32(bytes, bytes + count, target, target + count, ConversionFlags::kLenient) !=
      ConversionResult::kOk) {
    text_.reset();
  }
}

const wchar_t* WideString::Text() const {
  return text_ ? text_.get() : kWideError;
}

std::int64_t WideString::Length() const {
  return length_ == -1 ? kRefusedLength : length_;
}

void WideString::Release() {
  text_.reset();
  length_ = -1;
}

}  // namespace zevka
