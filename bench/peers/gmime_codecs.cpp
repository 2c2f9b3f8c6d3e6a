#include <gmime/gmime.h>

#include <string_view>

#include "bench/peers/coders.h"

namespace zevka::bench {
namespace {

const unsigned char* Bytes(std::string_view text) {
  return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* Room(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

// One call over all of the input.
template <typename Function>
auto Once(Function* function, const std::string& input, std::string& room) {
  return [function, &input, &room] {
    int state = 0;
    guint32 save = 0;
    return function(Bytes(input), input.size(), Room(room), &state, &save);
  };
}

}  // namespace

Coders MakeCoders(const Material& material, std::string& room) {
  return {"gmime",
          {{"base64-decode", &material.base64,
            Once(g_mime_encoding_base64_decode_step, material.base64, room)},
           {"base64-encode", &material.noise,
            Once(g_mime_encoding_base64_encode_close, material.noise, room)},
           {"qp-decode", &material.quotedPrintable,
            Once(g_mime_encoding_quoted_decode_step, material.quotedPrintable, room)},
           {"qp-encode", &material.text,
            Once(g_mime_encoding_quoted_encode_close, material.text, room)}}};
}

}  // namespace zevka::bench
