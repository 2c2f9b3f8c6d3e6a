#include "codec/charset_convert.h"

#include <dlfcn.h>
#include <iconv.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <new>
#include <optional>

#include "codec/bounded_copy.h"
#include "codec/charset_names.h"
#include "codec/text_holders.h"

namespace zevka {
namespace {

// The wide characters that ConvertToNarrow can hold on the way, and as many bytes of UTF-8.
constexpr std::size_t kNarrowCapacity = 2048;

using OpenFunction = decltype(&iconv_open);
using CloseFunction = decltype(&iconv_close);
using ConvertFunction = decltype(&iconv);

struct Converter {
  OpenFunction open;
  CloseFunction close;
  ConvertFunction convert;
};

// Null until all three were found once; two threads that look at the same time store the same.
constinit std::atomic<OpenFunction> foundOpen{nullptr};
constinit std::atomic<CloseFunction> foundClose{nullptr};
constinit std::atomic<ConvertFunction> foundConvert{nullptr};

template <typename Function>
Function FindFunction(const char* name) {
  return reinterpret_cast<Function>(dlsym(nullptr, name));
}

// The system's converter; nothing when a function of it is missing, to be looked for again.
std::optional<Converter> FindConverter() {
  Converter converter{foundOpen.load(std::memory_order_relaxed),
                      foundClose.load(std::memory_order_relaxed),
                      foundConvert.load(std::memory_order_relaxed)};
  if (converter.open != nullptr && converter.close != nullptr && converter.convert != nullptr) {
    return converter;
  }
  converter = {FindFunction<OpenFunction>("iconv_open"), FindFunction<CloseFunction>("iconv_close"),
               FindFunction<ConvertFunction>("iconv")};
  if (converter.open == nullptr || converter.close == nullptr || converter.convert == nullptr) {
    return std::nullopt;
  }
  foundOpen.store(converter.open, std::memory_order_relaxed);
  foundClose.store(converter.close, std::memory_order_relaxed);
  foundConvert.store(converter.convert, std::memory_order_relaxed);
  return converter;
}

// An open conversion into UTF-8, closed with its scope.
class Descriptor {
 public:
  Descriptor(const Converter& converter, const char* charset)
      : converter_(converter), handle_(converter.open("utf-8", charset)) {}
  ~Descriptor() {
    if (IsOpen()) {
      converter_.close(handle_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;

  // The converter's own sign of failure is a handle of all ones.
  bool IsOpen() const { return reinterpret_cast<std::intptr_t>(handle_) != -1; }

  // All of the input in one call. KEEP(charset-no-flush): a stateful charset gets no closing call.
  // Result: the bytes produced; nothing when the input is not of that charset or does not fit.
  std::optional<std::size_t> Convert(std::string_view input, char* out, std::size_t room) const {
    char* in = const_cast<char*>(input.data());  // the converter only reads
    std::size_t inLeft = input.size();
    std::size_t left = room;
    if (converter_.convert(handle_, &in, &inLeft, &out, &left) == static_cast<std::size_t>(-1)) {
      return std::nullopt;
    }
    return room - left;
  }

 private:
  const Converter& converter_;
  iconv_t handle_;
};

template <typename Character>
std::unique_ptr<Character[]> AllocateZeros(std::size_t count) {
  return std::unique_ptr<Character[]>(new (std::nothrow) Character[count]());
}

bool IsAccepted(const char* charset) {
  if (charset == nullptr) {
    return false;
  }
  const CharsetRow* const row = FindCharset(charset);
  return row != nullptr && row->codePage != kNoCodePage;
}

// Converts into UTF-8 in a terminated block; null for a failure.
std::unique_ptr<char[]> ConvertToUtf8(const char* charset, std::string_view input,
                                      std::size_t capacityBytes) {
  auto scratch = AllocateZeros<char>(std::max<std::size_t>(capacityBytes, 1));
  if (!scratch || !IsAccepted(charset)) {
    return nullptr;
  }
  const std::optional<Converter> converter = FindConverter();
  if (!converter) {
    return nullptr;
  }
  const Descriptor descriptor(*converter, charset);
  if (!descriptor.IsOpen()) {
    return nullptr;
  }
  const std::optional<std::size_t> produced =
      descriptor.Convert(input, scratch.get(), capacityBytes);
  if (!produced) {
    return nullptr;
  }
  // KEEP(charset-full-scratch): a text that fills the scratch loses its last byte, which may leave
  // half a character.
  const std::size_t last = capacityBytes == 0 ? 0 : capacityBytes - 1;
  scratch[std::min(*produced, last)] = '\0';
  return scratch;
}

}  // namespace

// KEEP(charset-byte-room): the UTF-8 form on the way has as many bytes as the output has wide
// characters, so a text may fail that would fit when wide.
// KEEP(charset-error-text): a text that the holder cannot convert is "(conversion-error)" and a
// success.
int ConvertToWide(const char* charset, std::string_view input, wchar_t* out,
                  std::size_t capacityWide) {
  const std::unique_ptr<char[]> text = ConvertToUtf8(charset, input, capacityWide);
  if (!text) {
    return -1;
  }
  CopyTerminatedWide(out, capacityWide, WideString(text.get()).Text());
  return 0;
}

int ConvertToNarrow(const char* charset, std::string_view input, char* out,
                    std::size_t outSizeBytes) {
  const auto wide = AllocateZeros<wchar_t>(kNarrowCapacity + 1);
  if (!wide || ConvertToWide(charset, input, wide.get(), kNarrowCapacity) != 0) {
    return -1;
  }
  wide[kNarrowCapacity] = L'\0';
  const NarrowString narrow(wide.get());
  CopyTerminated(out, outSizeBytes, narrow.Text());
  return outSizeBytes == 0 ? 0 : static_cast<int>(std::strlen(out));
}

}  // namespace zevka
