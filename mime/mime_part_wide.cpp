// The wide slots of MIMEPart: each converts its texts and calls its narrow twin through the
// dispatch table. None takes the part's lock; the twins do.
#include <algorithm>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include "codec/bounded_copy.h"
#include "codec/charset_convert.h"
#include "codec/text_holders.h"
#include "mime/edge.h"
#include "mime/mime_part.h"

namespace zevka {
namespace {

constexpr std::size_t kNameRoomWide = 512;     // wide characters of a host's name buffer
constexpr std::size_t kDecodedPathRoom = 513;  // characters
constexpr std::size_t kEncodedPathRoom = 4096;
constexpr std::size_t kFieldRoom = 1024;  // characters; longer texts get a buffer of their size

// A wide text in its narrow form; null stays null.
class NarrowArgument {
 public:
  explicit NarrowArgument(const wchar_t* text) {
    if (text != nullptr) {
      holder_.emplace(text);
    }
  }
  const char* Get() const { return holder_ ? holder_->Text() : nullptr; }

 private:
  std::optional<NarrowString> holder_;
};

// Copies the wide form of a text whole, with its terminator.
void CopyWidened(wchar_t* out, const char* text) {
  if (out != nullptr) {
    std::wcscpy(out, WideString(text).Text());
  }
}

std::string FieldBuffer(std::uint32_t size) {
  return std::string(size > kFieldRoom - 1 ? std::size_t{size} + 1 : kFieldRoom, '\0');
}

}  // namespace

int MIMEPart::SaveAndCloseW(const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) {
  return SaveAndClose(NarrowArgument(subjectSuffix).Get(), NarrowArgument(passThrough).Get(),
                      NarrowArgument(attachmentName).Get());
}

int MIMEPart::LoadFromFileW(const wchar_t* path) {
  return LoadFromFile(NarrowArgument(path).Get());
}

int MIMEPart::WriteMessageW(int reencode, const wchar_t* subjectSuffix, const wchar_t* passThrough,
                            const wchar_t* attachmentName) {
  return WriteMessage(reencode, NarrowArgument(subjectSuffix).Get(),
                      NarrowArgument(passThrough).Get(), NarrowArgument(attachmentName).Get());
}

int MIMEPart::NextHeaderW(wchar_t* nameBuf, wchar_t* valueBuf) {
  return OrFailure(0, [&] {
    std::uint32_t nameSize = 0;
    std::uint32_t valueSize = 0;
    GetHeaderSizes(&nameSize, &valueSize);
    std::string name = FieldBuffer(nameSize);
    std::string value = FieldBuffer(valueSize);
    const int result = NextHeader(name.data(), value.data());
    CopyWidened(nameBuf, name.c_str());
    CopyWidened(valueBuf, value.c_str());
    return result;
  });
}

int MIMEPart::SetHeaderW(const wchar_t* name, const wchar_t* value, int mode) {
  return SetHeader(NarrowArgument(name).Get(), NarrowArgument(value).Get(), mode);
}

int MIMEPart::GetNameW(wchar_t* buf) {
  const std::string_view name =
      state_.name.text ? std::string_view(*state_.name.text) : std::string_view();
  if (!state_.name.charset.empty()) {
    return ConvertToWide(state_.name.charset.c_str(), name, buf, kNameRoomWide) == 0 ? 1 : 0;
  }
  return OrFailure(0, [&] {
    CopyPaddedWide(buf, kNameRoomWide, WideString(std::string(name).c_str()).Text());
    return 1;
  });
}

int MIMEPart::GetDecodedBodyFileW(wchar_t* buf) {
  return OrFailure(0, [&] {
    std::string path(kDecodedPathRoom, '\0');
    const int result = GetDecodedBodyFile(path.data());
    CopyWidened(buf, path.c_str());
    return result;
  });
}

int MIMEPart::GetEncodedBodyFileW(wchar_t* buf) {
  return OrFailure(0, [&] {
    std::string path(std::max(kEncodedPathRoom, state_.files.encoded.size() + 1), '\0');
    const int result = GetEncodedBodyFile(path.data());
    CopyWidened(buf, path.c_str());
    return result;
  });
}

int MIMEPart::SetFooterTextW(const wchar_t* text) {
  return SetFooterText(NarrowArgument(text).Get());
}

}  // namespace zevka
