// Its coders give out blocks of their own; that they are copied to a caller's buffer is no part of
// the work here.
#include <libetpan/libetpan.h>

#include <stdexcept>

#include "bench/peers/coders.h"

namespace zevka::bench {
namespace {

std::size_t Decode(int encoding, const std::string& input) {
  std::size_t at = 0;
  std::size_t length = 0;
  char* decoded = nullptr;
  if (mailmime_part_parse(input.data(), input.size(), &at, encoding, &decoded, &length) !=
      MAILIMF_NO_ERROR) {
    throw std::runtime_error("not decoded");
  }
  mmap_string_unref(decoded);
  return length;
}

template <typename Write>
std::size_t Encode(const std::string& input, const Write& write) {
  MMAPString* encoded = mmap_string_sized_new(input.size() * 3 / 2);
  int column = 0;
  write(encoded, &column, input);
  const std::size_t length = encoded->len;
  mmap_string_free(encoded);
  return length;
}

}  // namespace

Coders MakeCoders(const Material& material, std::string&) {
  return {"libetpan",
          {{"base64-decode", &material.base64,
            [&] { return Decode(MAILMIME_MECHANISM_BASE64, material.base64); }},
           {"base64-encode", &material.noise,
            [&] {
              return Encode(material.noise, [](MMAPString* out, int* column, const auto& input) {
                mailmime_base64_write_mem(out, column, input.data(), input.size());
              });
            }},
           {"qp-decode", &material.quotedPrintable,
            [&] { return Decode(MAILMIME_MECHANISM_QUOTED_PRINTABLE, material.quotedPrintable); }},
           {"qp-encode", &material.text, [&] {
              return Encode(material.text, [](MMAPString* out, int* column, const auto& input) {
                mailmime_quoted_printable_write_mem(out, column, 1, input.data(), input.size());
              });
            }}}};
}

}  // namespace zevka::bench
