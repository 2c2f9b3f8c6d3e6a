#include <mimetic/mimetic.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <sstream>

#include "bench/peers/library.h"
#include "bench/peers/mimetic_cursor.h"

namespace zevka::bench {
namespace {

constexpr std::size_t kDecoderSlack = 8;  // bytes that a decoder may write behind what it makes

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

void Decode(mimetic::MimeEntity& leaf, Counters& counters) {
  const std::string& body = leaf.body();
  const std::string encoding = Lower(leaf.header().contentTransferEncoding().mechanism());
  std::string decoded;
  if (encoding == "base64") {
    decoded.resize(body.size() + kDecoderSlack);
    mimetic::Base64::Decoder decoder;
    decoded.resize(Code(body, decoder, decoded.data()));
  } else if (encoding == "quoted-printable") {
    decoded.reserve(body.size());
    mimetic::QP::Decoder decoder;
    mimetic::decode(body.begin(), body.end(), decoder, std::back_inserter(decoded));
  } else {
    decoded.assign(body.data(), body.size());
  }
  counters.decodedBytes += decoded.size();
}

void Visit(mimetic::MimeEntity& entity, const Job& job, Counters& counters) {
  const mimetic::MimeEntityList& parts = entity.body().parts();
  if (parts.empty()) {
    ++counters.leaves;
    if (job.decode) {
      Decode(entity, counters);
    }
    return;
  }
  for (mimetic::MimeEntity* part : parts) {
    Visit(*part, job, counters);
  }
}

class Mimetic : public MailLibrary {
 public:
  std::string Name() const override { return "mimetic"; }
  std::string Version() const override { return mimetic::version.str(); }

  void Do(std::string_view bytes, const Job& job, Counters& counters) override {
    mimetic::MimeEntity message;
    message.load(bytes.data(), bytes.data() + bytes.size());
    Visit(message, job, counters);
    if (job.write) {
      std::ostringstream output;
      output << message;
      const std::string text = output.str();
      counters.writtenBytes += text.size();
    }
  }
};

}  // namespace

std::unique_ptr<MailLibrary> MakeLibrary() {
  return std::make_unique<Mimetic>();
}

}  // namespace zevka::bench
