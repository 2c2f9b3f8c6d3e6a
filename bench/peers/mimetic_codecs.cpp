#include <mimetic/mimetic.h>

#include "bench/peers/coders.h"
#include "bench/peers/mimetic_cursor.h"

namespace zevka::bench {
namespace {

template <typename Codec>
auto Once(const std::string& input, std::string& room) {
  return [&input, &room] {
    Codec codec;
    return Code(input, codec, room.data());
  };
}

}  // namespace

Coders MakeCoders(const Material& material, std::string& room) {
  return {
      "mimetic",
      {{"base64-decode", &material.base64, Once<mimetic::Base64::Decoder>(material.base64, room)},
       {"base64-encode", &material.noise, Once<mimetic::Base64::Encoder>(material.noise, room)},
       {"qp-decode", &material.quotedPrintable,
        Once<mimetic::QP::Decoder>(material.quotedPrintable, room)},
       {"qp-encode", &material.text, Once<mimetic::QP::Encoder>(material.text, room)}}};
}

}  // namespace zevka::bench
