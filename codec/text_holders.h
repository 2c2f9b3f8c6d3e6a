// Wide text as narrow text and narrow text as wide text, for the length of a call: every operation
// with wide strings goes through these two.
//
// The process's locale converts first. What it refuses is taken as UTF-8 and UTF-32, so that text
// beyond ASCII passes in the "C" locale too. The conversion is all or nothing and never fails
// loudly: a text that neither way converts, or for which there is no memory, reads
// "(conversion-error)".
//
// Threads: a holder belongs to the function that makes it; making one reads the locale.
#ifndef ZEVKA_CODEC_TEXT_HOLDERS_H
#define ZEVKA_CODEC_TEXT_HOLDERS_H

#include <cstdint>
#include <memory>

namespace zevka {

class NarrowString {
 public:
  // Converts; the source is not null and is not kept.
  explicit NarrowString(const wchar_t* source);
  ~NarrowString() = default;
  NarrowString(const NarrowString&) = delete;
  NarrowString& operator=(const NarrowString&) = delete;
  NarrowString(NarrowString&&) = delete;
  NarrowString& operator=(NarrowString&&) = delete;

  // The text, terminated; the holder's own, until Release or its end. Never null.
  const char* Text() const;
  // The bytes that the locale counted. KEEP(holder-length-19): 19 when the locale refused the text,
  // whatever became of it then; measure the text where its length matters.
  std::int64_t Length() const;
  // Drops the text, which reads "(conversion-error)" from now on.
  void Release();

 private:
  void ConvertByLocale(const wchar_t* source);
  void ConvertByUtf(const wchar_t* source);

  std::int64_t length_ = -1;      // as counted by the locale; -1: it refused the text
  std::unique_ptr<char[]> text_;  // null: no conversion succeeded
};

class WideString {
 public:
  // Converts; the source is not null and is not kept.
  explicit WideString(const char* source);
  ~WideString() = default;
  WideString(const WideString&) = delete;
  WideString& operator=(const WideString&) = delete;
  WideString(WideString&&) = delete;
  WideString& operator=(WideString&&) = delete;

  // The text, terminated; the holder's own, until Release or its end. Never null.
  const wchar_t* Text() const;
  // The wide characters that the locale counted, or 19 as above.
  std::int64_t Length() const;
  // Drops the text, which reads "(conversion-error)" from now on.
  void Release();

 private:
  void ConvertByLocale(const char* source);
  void ConvertByUtf(const char* source);

  std::int64_t length_ = -1;         // as counted by the locale; -1: it refused the text
  std::unique_ptr<wchar_t[]> text_;  // null: no conversion succeeded
};

}  // namespace zevka

#endif  // ZEVKA_CODEC_TEXT_HOLDERS_H
